/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/SharedMapping.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>

#include "common/ClientProcess.h"
#include "common/SharedRegion.h"

namespace orva::hidl {

namespace {

SharedMapping Refuse(std::atomic<uint64_t>& reason) {
    ++reason;
    return {};
}

}  // namespace

SharedMapping& SharedMapping::operator=(SharedMapping&& other) noexcept {
    if (this != &other) {
        Reset();
        address_ = std::exchange(other.address_, nullptr);
        length_ = std::exchange(other.length_, 0);
        unmapLength_ = other.unmapLength_;
        hollow_ = other.hollow_;
        client_ = std::move(other.client_);
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
        mapping.unmapLength_ = length;
    }
    return mapping;
}

SharedMapping SharedMapping::MapReceived(const native_handle_t* handle, uint64_t length) {
    if (handle == nullptr || handle->numFds < 1) {
        return Refuse(refusedRegions.noMemory);
    }
    const int fd = handle->data[0];
    const std::optional<SharedRegion> region = SharedRegion::Of(fd);
    if (!region) {
        return Refuse(refusedRegions.noMemory);
    }
    if (length > region->length) {
        return Refuse(refusedRegions.tooShort);
    }
    const uint64_t hollow = length - std::min(length, region->held);
    std::shared_ptr<ClientProcess> client = ClientProcess::Calling();
    if (!client->CountMapping(length, hollow)) {
        return {};
    }
    SharedMapping mapping = MapOwn(fd, length);
    if (!mapping) {
        client->ForgetMapping(length, hollow);
        return Refuse(refusedRegions.byKernel);
    }
    if (const uint64_t page = region->hugePage; page != 0) {
        // Ordinary pages are rounded to by the kernel, these are not.
        mapping.unmapLength_ = static_cast<size_t>((length + page - 1) / page * page);
    }
    mapping.hollow_ = hollow;
    mapping.client_ = std::move(client);
    return mapping;
}

void SharedMapping::Reset() {
    if (address_ != nullptr) {
        munmap(address_, unmapLength_);
        if (client_ != nullptr) {
            client_->ForgetMapping(length_, hollow_);
            client_ = nullptr;
        }
        address_ = nullptr;
        length_ = 0;
    }
}

}  // namespace orva::hidl
