/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <vector>

#include "onnx/OnnxModel.h"

namespace orva::reference {

// The size that a dimension has which the model leaves open.
constexpr int64_t kOpenDimension = 1;

// Rewrites a model file that ReadOnnxModel took, so that none of the inputs in `model` leaves a
// dimension open. The engine would take open ones to be empty.
std::vector<uint8_t> CloseShapes(ByteRange file, const OnnxModel& model);

}  // namespace orva::reference
