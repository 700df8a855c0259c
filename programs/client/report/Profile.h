/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace orva::client {

// A run's slowest operators, as a completion's context has them in "profile" where the session was
// configured so: an array of objects with "node", "operator", "calls" and "micros". Empty when
// there is none.
nlohmann::json profileOf(const std::string& context);

// A table of one for people, its last line without a line's end.
std::string profileText(const nlohmann::json& profile);

}  // namespace orva::client
