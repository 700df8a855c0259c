/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "driver/Control.h"

namespace orva_bench {

// Clients of the host in the service directory `directory`.

// Opens so many sessions, each with a listener of its own, and leaves them alone until the driver
// goes.
int runIdleClient(const Control& control, const std::string& directory, size_t sessions);

// Takes round orders: each request has a session of its own, opened before and closed after it.
int runCyclingClient(const Control& control, const std::string& directory);

// Sends request after request as long as it lives.
int runDoomedClient(const Control& control, const std::string& directory);

}  // namespace orva_bench
