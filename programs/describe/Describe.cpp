/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "describe/Describe.h"

#include <cstdio>

#include <CLI/CLI.hpp>

namespace orva::describe {

void addDescribe(CLI::App* app, const std::string& version,
                 const std::vector<std::string>& ofMachine) {
    const auto print = [app, version, ofMachine](const std::string& format) {
        const CommandText text = textOf(*app, ofMachine);
        const std::string described = format == "man"    ? manualPage(text, version)
                                      : format == "bash" ? bashCompletions(text)
                                      : format == "zsh"  ? zshCompletions(text)
                                                         : fishCompletions(text);
        fputs(described.c_str(), stdout);
        throw CLI::Success();
    };
    app->add_option_function<std::string>("--describe", print)
            ->check(CLI::IsMember({"man", "bash", "zsh", "fish"}))
            ->group("");
}

}  // namespace orva::describe
