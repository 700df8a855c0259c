/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

namespace orva_bench {

// An ONNX file of floats without open dimensions: so many products of square matrices, one after
// the other, each a few hundredths of a second's work.
std::string longModel(size_t products);

// The same with a face detector's tensors, one input of 192 KiB and four outputs, and some
// thousandths of a second's work.
std::string longerModel();

}  // namespace orva_bench
