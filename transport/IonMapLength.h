/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva::hidl {

// How many bytes are allocated and mapped for an ION tensor of `size` bytes: 256 more, in whole
// pages, counted in 64 bits. Whoever sends an ION tensor must provide a region at least this long.
// For the last sizes below 2^64, where the sum would wrap around to the length of a small tensor,
// the length is 0, which nobody can map: a mapping that is shorter than what is later touched must
// not exist.
constexpr uint64_t IonMapLength(uint64_t size) {
    constexpr uint64_t kPage = 4096;
    constexpr uint64_t kSpare = 256;
    constexpr uint64_t kAdded = kSpare + kPage - 1;
    return size <= UINT64_MAX - kAdded ? (size + kAdded) & ~(kPage - 1) : 0;
}

}  // namespace orva::hidl
