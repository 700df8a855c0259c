/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <optional>
#include <string>

#include "client/perf/Load.h"

namespace orva::client {

// What a completion's context says of how long its request waited in the service ("queueMicros")
// and was computed ("runMicros"), each as a number or its text, in microseconds. Empty when it does
// not say both.
std::optional<RequestTiming::Service> serviceTimes(const std::string& context);

}  // namespace orva::client
