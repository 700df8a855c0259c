/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "describe/CommandText.h"

namespace orva::describe {

// Adds the option --describe FORMAT, which help does not show: it prints the program's manual page
// ("man") or its completions for a shell ("bash", "zsh", "fish"), and throws CLI::Success. The
// build makes what is installed of it, so they say what the program does. To be added last.
// `ofMachine` as textOf() has it.
void addDescribe(CLI::App* app, const std::string& version,
                 const std::vector<std::string>& ofMachine = {});

// The texts themselves.
std::string manualPage(const CommandText& program, const std::string& version);
std::string bashCompletions(const CommandText& program);
std::string zshCompletions(const CommandText& program);
std::string fishCompletions(const CommandText& program);

}  // namespace orva::describe
