/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/SharedMapping.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <optional>

#include <cutils/ashmem.h>

#include "debug/HeldResources.h"

namespace orva::hidl {

namespace {

// What all regions may take of the address space, so that some is left for everything else: a
// peer's region can be as long as it says without having memory behind it.
constexpr uint64_t kMostMapped = uint64_t{1} << 45;

// How long a region really is. A memory file says so itself, the ashmem device when asked, a
// dma-buf by its end. Whatever cannot say it (a pipe, a directory, some other device) counts as no
// memory: touching a mapping beyond its end would end the process.
std::optional<uint64_t> RegionSize(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return std::nullopt;
    }
    int64_t size = -1;
    switch (status.st_mode & S_IFMT) {
    case S_IFREG:
        size = status.st_size;
        break;
    case S_IFCHR:
        // Asked about another device, some ashmem_get_size_region() end the process.
        if (ashmem_valid(fd) != 0) {
            // 2 GiB and more come out negative.
            const int low = ashmem_get_size_region(fd);
            size = low != -1 ? static_cast<uint32_t>(low) : -1;
        }
        break;
    case 0:
        // The inode of a dma-buf has no type, and not every kernel keeps the size in it.
        size = lseek64(fd, 0, SEEK_END);
        break;
    default:
        break;
    }
    return size >= 0 ? std::optional<uint64_t>(size) : std::nullopt;
}

}  // namespace

SharedMapping& SharedMapping::operator=(SharedMapping&& other) noexcept {
    if (this != &other) {
        Reset();
        address_ = std::exchange(other.address_, nullptr);
        length_ = std::exchange(other.length_, 0);
    }
    return *this;
}

SharedMapping SharedMapping::MapOwn(int fd, uint64_t length) {
    SharedMapping mapping;
    if (length > std::numeric_limits<size_t>::max()) {
        return mapping;
    }
    void* const address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address != MAP_FAILED) {
        mapping.address_ = address;
        mapping.length_ = length;
        heldResources.mappings.fetch_add(1, std::memory_order_relaxed);
        heldResources.mappedBytes.fetch_add(length, std::memory_order_relaxed);
    }
    return mapping;
}

SharedMapping SharedMapping::MapReceived(const native_handle_t* handle, uint64_t length) {
    if (handle == nullptr || handle->numFds < 1) {
        return {};
    }
    const int fd = handle->data[0];
    const std::optional<uint64_t> size = RegionSize(fd);
    // A size is below 2^63, so the sum does not wrap.
    if (!size || length > *size ||
        length + heldResources.mappedBytes.load(std::memory_order_relaxed) > kMostMapped) {
        return {};
    }
    return MapOwn(fd, length);
}

void SharedMapping::Reset() {
    if (address_ != nullptr) {
        munmap(address_, length_);
        heldResources.mappings.fetch_sub(1, std::memory_order_relaxed);
        heldResources.mappedBytes.fetch_sub(length_, std::memory_order_relaxed);
        address_ = nullptr;
        length_ = 0;
    }
}

}  // namespace orva::hidl
