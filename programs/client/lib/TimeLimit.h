/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <string>

namespace orva::client {

// How long this process waits for any one answer or result of a service; zero, the default, waits
// until it comes or the service dies. To be set before the first service is asked for.
void setTimeLimit(std::chrono::milliseconds limit);
std::chrono::milliseconds timeLimit();

// For messages: "the service did not answer within 10 s".
std::string tooLong(const std::string& what, std::chrono::milliseconds limit);

}  // namespace orva::client
