/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Backend.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace orva_platform::ion {

namespace {

// Memory files take any size and find out later. ION's own heap draws the line here.
size_t largestBuffer() {
    return static_cast<size_t>(sysconf(_SC_PHYS_PAGES)) / 2 *
           static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Whoever allocates on a 4.14 kernel synchronises the buffer next, and where that fails leaves it
// open, for on a device it does not fail. On a memory file it always does. A release that speaks of
// 4.9 as well, such as 4.14.98, is taken for that.
bool isSynchronised() {
    utsname kernel;
    return uname(&kernel) == 0 && std::strstr(kernel.release, "4.9") == nullptr &&
           std::strstr(kernel.release, "4.14") != nullptr;
}

}  // namespace

unique_fd MemoryFileBackend::openClient() const {
    return unique_fd(memfd_create("ion", MFD_CLOEXEC));
}

int MemoryFileBackend::allocate(int, size_t length, unique_fd* buffer) const {
    if (length > largestBuffer()) {
        return -ENOMEM;
    }
    if (isSynchronised()) {
        return -ENODEV;
    }
    unique_fd file(memfd_create("ion buffer", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    // Sealed, because a dma-buf keeps its size, too.
    if (file.get() < 0 || ftruncate(file.get(), static_cast<off_t>(length)) != 0 ||
        fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        return -errno;
    }
    *buffer = std::move(file);
    return 0;
}

}  // namespace orva_platform::ion
