/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orva::reference {

// An input or output of a loaded model.
struct EngineTensor {
    std::string name;
    // AITensorDataType.
    int dataType = 0;
    std::vector<int> dims;
    size_t elements = 0;
};

// A small file must not make the server allocate and compute without bounds.
constexpr int64_t kMostElements = int64_t{1} << 26;
// Inputs of a model; outputs of a model.
constexpr size_t kMostTensors = 1024;

}  // namespace orva::reference
