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

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

#include <cutils/ashmem.h>

#include "common/UniqueFd.h"

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

// What the kernel knows of a descriptor's file by itself; of no type when it does not.
struct statx KnownOf(int fd) {
    struct statx known = {};
    struct stat status = {};
    if (syscall(__NR_statx, fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_TYPE, &known) != 0) {
        known.stx_mode = errno == ENOSYS && fstat(fd, &status) == 0
                                 ? static_cast<uint16_t>(status.st_mode)
                                 : S_IFMT;
    }
    return known;
}

// Whether what looks like a file of a file system is a dma-buf. The file system is not asked, for
// it could be the client's own: the kernel says so where it describes this process's descriptors.
// That takes some microseconds, and so is asked once: all dma-bufs have one device, for good.
bool IsDmaBuf(int fd, const struct statx& known) {
    static std::atomic<uint64_t> dmaBufDevice{UINT64_MAX};
    const uint64_t device = uint64_t{known.stx_dev_major} << 32 | known.stx_dev_minor;
    if (device == dmaBufDevice) {
        return true;
    }
    const std::string path = "/proc/self/fdinfo/" + std::to_string(fd);
    const UniqueFd info(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char text[512] = {};
    if (info.Get() < 0 || read(info.Get(), text, sizeof(text) - 1) <= 0 ||
        std::strstr(text, "\nexp_name:") == nullptr) {
        return false;
    }
    dmaBufDevice = device;
    return true;
}

}  // namespace

std::optional<SharedRegion> SharedRegion::Of(int fd) {
    // Only memory files have seals, and on others the question goes no further than the kernel.
    if (fcntl(fd, F_GET_SEALS) >= 0) {
        return MemoryFile(fd);
    }
    int64_t size = -1;
    const struct statx known = KnownOf(fd);
    switch (known.stx_mode & S_IFMT) {
    case S_IFREG:
        // Kernels of 2025 and later give dma-bufs a type.
        if (!IsDmaBuf(fd, known)) {
            break;
        }
        [[fallthrough]];
    case 0:
        // No file system has a file without a type, but a dma-buf is one to older kernels. Not
        // every kernel keeps its size in the inode, and other descriptors of this kind have no end.
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
