/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "onnx/WireReader.h"

namespace orva::reference {

// Dimensions of a tensor.
constexpr size_t kMaxRank = 32;

// Checks what the engine would take on trust in a tensor inside a model file: that its elements
// stand in the file, and that there are no fewer of them than its shape makes the engine allocate.
// Answers its name. Throws std::runtime_error with the reason for which it is refused.
std::string CheckTensor(ByteRange tensor);

}  // namespace orva::reference
