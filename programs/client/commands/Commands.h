/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <CLI/App.hpp>

namespace orva::client {

// What every command needs to find a service. Filled in before a command runs.
struct Connection {
    std::string instance = "default";
};

// Each adds its subcommand, which runs while the command line is parsed and throws what fails. The
// connection must outlive the application.
void addList(CLI::App* app);
void addPing(CLI::App* app, const Connection* connection);
void addRun(CLI::App* app, const Connection* connection);
void addFaces(CLI::App* app, const Connection* connection);
void addInfo(CLI::App* app, const Connection* connection);
void addCheck(CLI::App* app, const Connection* connection);
void addCompile(CLI::App* app, const Connection* connection);
void addDebug(CLI::App* app, const Connection* connection);

}  // namespace orva::client
