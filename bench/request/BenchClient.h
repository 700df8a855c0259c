/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "Payload.h"
#include "driver/Control.h"

namespace orva_bench {

// A client of the host in the service directory `directory` with one session, on a node of the type
// or on a model manager. Does the load's work as it is ordered to.
int runBenchClient(const Control& control, const std::string& directory,
                   const std::string& nodeType, const Load& load);

}  // namespace orva_bench
