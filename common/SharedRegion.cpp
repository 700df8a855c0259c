/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/SharedRegion.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/memfd.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>

#include <cutils/ashmem.h>

namespace orva::hidl {

namespace {

uint64_t Page() {
    static const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return page;
}

// A size is below 2^63, so the sum does not wrap.
uint64_t InPages(uint64_t size) {
    return (size + Page() - 1) / Page() * Page();
}

std::optional<SharedRegion> MemoryFile(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return std::nullopt;
    }
    uint64_t hugePage = 0;
    if (static_cast<uint64_t>(status.st_blksize) > Page()) {
        // Either huge pages are all that it has, or it only makes use of them where it can.
        struct statfs files = {};
        if (fstatfs(fd, &files) == 0 && files.f_type == HUGETLBFS_MAGIC) {
            hugePage = static_cast<uint64_t>(status.st_blksize);
        }
    }
    // A size in huge pages is one of whole ones anyway.
    return SharedRegion{InPages(static_cast<uint64_t>(status.st_size)),
                        static_cast<uint64_t>(status.st_blocks) * 512, hugePage};
}

// The type of a descriptor's file, as far as the kernel knows it by itself; S_IFMT when it does
// not.
mode_t TypeOf(int fd) {
    struct statx known = {};
    if (syscall(__NR_statx, fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_TYPE, &known) == 0) {
        return known.stx_mode & S_IFMT;
    }
    struct stat status = {};
    return errno == ENOSYS && fstat(fd, &status) == 0 ? status.st_mode & S_IFMT : S_IFMT;
}

}  // namespace

std::optional<SharedRegion> SharedRegion::Of(int fd) {
    // Only memory files have seals, and on others the question goes no further than the kernel.
    if (fcntl(fd, F_GET_SEALS) >= 0) {
        return MemoryFile(fd);
    }
    int64_t size = -1;
    switch (TypeOf(fd)) {
    case 0:
        // No file system has a file without a type, but a dma-buf is one. Not every kernel keeps
        // its size in the inode, and other descriptors of this kind have no end.
        size = lseek64(fd, 0, SEEK_END);
        break;
    case S_IFCHR:
        // Asked about another device, some ashmem_get_size_region() end the process.
        if (ashmem_valid(fd) != 0) {
            // 2 GiB and more come out negative.
            const int low = ashmem_get_size_region(fd);
            size = low != -1 ? static_cast<uint32_t>(low) : -1;
        }
        break;
    default:
        break;
    }
    if (size < 0) {
        return std::nullopt;
    }
    // A dma-buf has its memory from the start; of an ashmem region the kernel does not tell.
    const uint64_t length = InPages(static_cast<uint64_t>(size));
    return SharedRegion{length, length, 0};
}

}  // namespace orva::hidl
