/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

namespace orva {

// One input or output of a model. A tensor of fewer than four dimensions has 1 in the rest; a
// dimension that only a request settles is -1.
struct AIModelIOTensor {
    int32_t dim0 = 1;
    int32_t dim1 = 1;
    int32_t dim2 = 1;
    int32_t dim3 = 1;
    std::string name;      // the tensor's name within the model
    int32_t dataType = 0;  // one of AITensorDataType
};

}  // namespace orva
