/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva::hidl {

// How many bytes are allocated and mapped for an ION tensor of `size` bytes: 256 more, in whole
// pages. Whoever sends an ION tensor must provide a region at least this long. 0, which nobody can
// map, for a size whose length does not fit in 64 bits.
constexpr uint64_t IonMapLength(uint64_t size) {
    constexpr uint64_t kPage = 4096;
    constexpr uint64_t kSpare = 256;
    constexpr uint64_t kAdded = kSpare + kPage - 1;
    return size <= UINT64_MAX - kAdded ? (size + kAdded) & ~(kPage - 1) : 0;
}

}  // namespace orva::hidl
