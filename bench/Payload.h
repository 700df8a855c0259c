/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_bench {

// What one request carries, beside the floor and through the services alike: one input of a size
// that varies and one output, each with its attribute block.
constexpr size_t kPictureSize = 224 * 224 * 3;
constexpr size_t kOutputSize = 4004;  // 1,001 scores of four bytes
constexpr size_t kAttributeSize = 20;

// Where the services' tensors lie. The floor knows shared memory only.
enum class TensorMemory { kShared, kIon };

}  // namespace orva_bench
