/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include "client/lib/Session.h"

namespace orva::attack {

// An ONNX model of one input and one output, "x" and "y", square matrices of floats: products of x
// with itself, one after the other. Small as a file, slow to run, and as large in memory as the
// side says.
client::Model productModel(int64_t side, int count);

// What such models take and give.
client::Tensor squareTensor(int64_t side);

// Runs for minutes.
constexpr int64_t kSlowSide = 1024;
constexpr int kSlowCount = 3000;

}  // namespace orva::attack
