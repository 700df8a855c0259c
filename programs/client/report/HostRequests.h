/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <sys/types.h>
#include <nlohmann/json.hpp>

namespace orva::client {

// The latest requests of a host's sessions, and how long each has waited and run: an array of
// objects, as the host's CallTrace.h shows them. Asks the host, and waits as setTimeLimit() says.
// Throws std::exception when it does not tell, as a device's does not.
nlohmann::ordered_json requestsOf(pid_t host);

// Those of one service, which they then do not name, and of one client: a process's or a session's
// id; empty for all.
nlohmann::ordered_json requestsOf(const nlohmann::ordered_json& requests,
                                  const std::string& service, const std::string& client);

// For people, in the form of a state dump: a line for each.
std::string requestsText(const nlohmann::ordered_json& requests);

}  // namespace orva::client
