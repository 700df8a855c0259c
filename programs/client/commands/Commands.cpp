/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/Commands.h"

#include "client/lib/TimeLimit.h"

namespace orva::client {

void limitTime(const Connection& connection, std::chrono::milliseconds usual) {
    setTimeLimit(connection.timeout ? std::chrono::duration_cast<std::chrono::milliseconds>(
                                              std::chrono::duration<double>(*connection.timeout))
                                    : usual);
}

CLI::App* addCommand(CLI::App* app, const std::string& name, const std::string& description,
                     const std::vector<std::string>& examples) {
    CLI::App* const command = app->add_subcommand(name, description);
    std::string footer = examples.size() == 1 ? "Example:" : "Examples:";
    for (const std::string& example : examples) {
        footer += "\n  orva " + example;
    }
    command->footer(footer);
    return command;
}

}  // namespace orva::client
