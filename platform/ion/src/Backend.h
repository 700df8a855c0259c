/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

#include <android-base/unique_fd.h>

namespace orva_platform::ion {

using android::base::unique_fd;

// Where a host's buffers come from. From any thread.
class Backend {
public:
    virtual ~Backend() = default;

    // A descriptor that stands for one more client; none, and errno, where the host lacks what this
    // backend needs.
    virtual unique_fd openClient() const = 0;

    // A new buffer of a length above 0, in whole pages. 0, or a negative errno value.
    virtual int allocate(int client, size_t length, unique_fd* buffer) const = 0;
};

// Real dma-bufs, from the kernel's heap at a path.
class DmaHeapBackend : public Backend {
public:
    explicit DmaHeapBackend(const char* path) : mPath(path) {}
    unique_fd openClient() const override;
    int allocate(int client, size_t length, unique_fd* buffer) const override;

private:
    const char* const mPath;
};

// A memory file a buffer, on any kernel but 4.14, where a buffer has to be synchronised. What only
// dma-bufs can, as that, the kernel refuses.
class MemoryFileBackend : public Backend {
public:
    unique_fd openClient() const override;
    int allocate(int client, size_t length, unique_fd* buffer) const override;
};

}  // namespace orva_platform::ion
