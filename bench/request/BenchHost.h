/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "driver/Control.h"

namespace orva_bench {

// Serves the library's services, with the benchmark's nodes, in the service directory `directory`
// until the driver says otherwise.
int runBenchHost(const Control& control, const std::string& directory);

}  // namespace orva_bench
