/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "onnx/WireReader.h"

namespace orva::reference {

// More dimensions than the engine's arrays have.
constexpr size_t kMaxRank = 32;

// Checks that a tensor inside a model file has as many elements as its shape says, in whichever of
// the format's fields they stand. Gives the tensor's name and number of
// dimensions, or the reason for which it is refused.
bool CheckTensor(ByteRange tensor, std::string& name, int& rank, std::string& reason);

}  // namespace orva::reference
