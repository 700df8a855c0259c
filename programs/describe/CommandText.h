/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace orva::describe {

// What a program says of one of its options.
struct OptionText {
    std::vector<std::string> names;  // "-h", "--help"; none of an argument without a name
    bool takesValue = false;
    bool takesFile = false;            // or a text that could be one's name
    std::vector<std::string> choices;  // of the value, where it is one of a few
    std::string usual;                 // the value when none is given
    std::string description;
};

// What a program says of itself, or of one of its commands.
struct CommandText {
    std::string name;
    std::string description;
    std::string footer;
    std::vector<OptionText> options;
    std::vector<OptionText> arguments;
    std::vector<CommandText> commands;
};

// `ofMachine` are options whose usual value is another on each machine, and left out.
CommandText textOf(const CLI::App& app, const std::vector<std::string>& ofMachine);

}  // namespace orva::describe
