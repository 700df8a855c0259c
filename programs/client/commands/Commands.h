/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "client/lib/FindService.h"

namespace orva::client {

// What every command needs to find a service. Filled in before a command runs.
struct Connection {
    std::string instance = "default";
    std::optional<double> timeout;  // Unit: seconds.
};

// How long a command waits for an answer, unless it is told: what only asks for something that is
// there already is answered soon or never; what computes may take as long as it likes.
constexpr std::chrono::milliseconds kAnswersSoon = std::chrono::seconds(10);
constexpr std::chrono::milliseconds kMayTakeLong{0};

// Sets the time limit, and finds the service. Throws as findService does.
void limitTime(const Connection& connection, std::chrono::milliseconds usual);
template <typename Service>
android::sp<Service> connect(const Connection& connection, std::chrono::milliseconds usual) {
    limitTime(connection, usual);
    return findService<Service>(connection.instance);
}

// A subcommand whose help shows how it is used; `examples` are command lines, without `orva`.
CLI::App* addCommand(CLI::App* app, const std::string& name, const std::string& description,
                     const std::vector<std::string>& examples);

// Each adds its subcommand, which runs while the command line is parsed and throws what fails. The
// connection must outlive the application.
void addList(CLI::App* app, const Connection* connection);
void addNodes(CLI::App* app, const Connection* connection);
void addPing(CLI::App* app, const Connection* connection);
void addRun(CLI::App* app, const Connection* connection);
void addFaces(CLI::App* app, const Connection* connection);
void addInfo(CLI::App* app, const Connection* connection);
void addCheck(CLI::App* app, const Connection* connection);
void addCompile(CLI::App* app, const Connection* connection);
void addPerf(CLI::App* app, const Connection* connection);
void addTop(CLI::App* app, const Connection* connection);
void addTrace(CLI::App* app, const Connection* connection);
void addDebug(CLI::App* app, const Connection* connection);

}  // namespace orva::client
