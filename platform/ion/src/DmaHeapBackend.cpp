/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Backend.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/dma-heap.h>
#include <sys/ioctl.h>

namespace orva_platform::ion {

unique_fd DmaHeapBackend::openClient() const {
    return unique_fd(open(mPath, O_RDONLY | O_CLOEXEC));
}

int DmaHeapBackend::allocate(int client, size_t length, unique_fd* buffer) const {
    dma_heap_allocation_data request = {};
    request.len = length;
    request.fd_flags = O_RDWR | O_CLOEXEC;
    if (ioctl(client, DMA_HEAP_IOCTL_ALLOC, &request) != 0) {
        return -errno;
    }
    buffer->reset(static_cast<int>(request.fd));
    return 0;
}

}  // namespace orva_platform::ion
