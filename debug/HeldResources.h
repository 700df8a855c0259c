/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>

namespace orva::hidl {

// What the product holds now, counted by the types that own it.
struct HeldResources {
    std::atomic<uint64_t> descriptors{0};
    std::atomic<uint64_t> mappings{0};
    std::atomic<uint64_t> mappedBytes{0};
};

inline HeldResources heldResources;

}  // namespace orva::hidl
