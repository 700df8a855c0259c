/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "driver/Control.h"

namespace orva_bench {

// A client of the floor's server at `path`, with one thread and regions that it makes once. Sends
// requests with inputs of `inputSize` bytes as it is ordered to.
int runFloorClient(const Control& control, const std::string& path, size_t inputSize);

}  // namespace orva_bench
