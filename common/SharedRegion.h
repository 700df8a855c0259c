/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <optional>

namespace orva::hidl {

// What the kernel knows of a shared-memory region that a peer sent. Unit: bytes.
struct SharedRegion {
    uint64_t length;    // in whole pages: what lies beyond can be mapped, but not touched
    uint64_t held;      // of it, what takes up memory already
    uint64_t hugePage;  // the page of a region that is made of huge ones; else 0

    // Asks for a descriptor's. Nothing where it is no memory file, no dma-buf and no ashmem region.
    // Never waits for whoever made the descriptor: files whose maker answers for them (those of a
    // file system that it serves itself) are told apart before they are asked anything, where the
    // kernel can do that (4.20 and later).
    static std::optional<SharedRegion> Of(int fd);
};

}  // namespace orva::hidl
