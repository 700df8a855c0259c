/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "SharedMemory"

#include <cutils/ashmem.h>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <log/log.h>

// Anonymous shared memory as memory files. A region's name shows in /proc/<pid>/maps and
// /proc/<pid>/fd as "memfd:<name>".

namespace {

// A memory file's name is shorter than a region's may be; the rest is only for people.
constexpr size_t kMaxName = 249;

bool isMemoryFile(int fd) {
    return fcntl(fd, F_GET_SEALS) >= 0;
}

}  // namespace

int ashmem_create_region(const char* name, size_t size) {
    char shown[kMaxName + 1] = {};
    strncpy(shown, name == nullptr ? "none" : name, kMaxName);
    const int fd = memfd_create(shown, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0) {
        return -1;
    }
    if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
        const int error = errno;
        ALOGE("a region of %zu bytes cannot be made: %s", size, strerror(error));
        close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

int ashmem_valid(int fd) {
    return isMemoryFile(fd) ? 1 : 0;
}

int ashmem_get_size_region(int fd) {
    struct stat info;
    if (!isMemoryFile(fd) || fstat(fd, &info) != 0) {
        errno = ENOTTY;
        return -1;
    }
    return static_cast<int>(info.st_size);
}

// A memory file has no protection of its own, but sealing it against writing is the same to whoever
// maps it from here on.
int ashmem_set_prot_region(int fd, int prot) {
    return (prot & PROT_WRITE) != 0 ? 0 : fcntl(fd, F_ADD_SEALS, F_SEAL_FUTURE_WRITE);
}

// Memory files are never reclaimed, so pins have nothing to keep.
int ashmem_pin_region(int, size_t, size_t) {
    return 0;
}
int ashmem_unpin_region(int, size_t, size_t) {
    return 0;
}
