/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "Payload.h"
#include "driver/Control.h"

namespace orva_bench {

// A client of the host in the service directory `directory` with one session on a node of the type.
// Sends requests with inputs of `inputSize` bytes and tensors in that memory as it is ordered to.
int runBenchClient(const Control& control, const std::string& directory,
                   const std::string& nodeType, size_t inputSize, TensorMemory memory);

}  // namespace orva_bench
