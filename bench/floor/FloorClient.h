/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "Payload.h"
#include "driver/Control.h"

namespace orva_bench {

// A client of the floor's server at `path`, with one thread and regions that it makes once. Does
// the load's work as it is ordered to.
int runFloorClient(const Control& control, const std::string& path, const Load& load);

}  // namespace orva_bench
