/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <nlohmann/json.hpp>

namespace orva::client {

// What a session can be opened with.
struct HostNode {
    std::string service;              // "IAIService"
    std::optional<std::string> type;  // Nothing where the service takes any name for it.
    std::string from;                 // the file that brought it along, or "built in"
    std::string takes;                // in words; empty where nobody has said it

    nlohmann::json json() const;
};

// Asks a host, and waits as setTimeLimit() says. Throws std::runtime_error when it does not tell,
// as a device's does not.
std::vector<HostNode> nodesOf(pid_t host);

// For people: no line is longer than `width`, but for a word that is.
std::string nodesText(const std::vector<HostNode>& nodes, size_t width);

}  // namespace orva::client
