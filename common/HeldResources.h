/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>

namespace orva::hidl {

// What the product holds now, counted by the types that own it. From any thread.
struct HeldResources {
    std::atomic<uint64_t> descriptors{0};
    std::atomic<uint64_t> mappings{0};
    std::atomic<uint64_t> mappedBytes{0};
};

inline HeldResources heldResources;

// Why regions of clients were not mapped, since the process began. The log has one line for all
// of these. From any thread.
struct RefusedRegions {
    std::atomic<uint64_t> noMemory{0};      // no handle, no descriptor, or one of something else
    std::atomic<uint64_t> tooShort{0};      // than what was to be mapped
    std::atomic<uint64_t> clientMapped{0};  // ClientProcess::kMostMapped
    std::atomic<uint64_t> clientHollow{0};  // ClientProcess::kMostHollow
    std::atomic<uint64_t> byKernel{0};      // mmap() itself failed
};

inline RefusedRegions refusedRegions;

}  // namespace orva::hidl
