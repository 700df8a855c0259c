/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <android-base/unique_fd.h>
#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

namespace orva::client {

// A shared-memory region of this process: its descriptor, its mapping and the handle it travels in,
// each given up with it.
class SharedRegion {
public:
    // `size` bytes, all zero. Throws std::system_error when the region cannot be had.
    SharedRegion(const std::string& name, size_t size);
    // The same in an ION buffer, which is as much longer as an ION tensor's must be.
    static SharedRegion ofIon(size_t size);
    // What a service sent, whose descriptor is duplicated, mapped when its bytes are first asked
    // for: mostly they lie in a region that the caller has made itself. Throws std::runtime_error
    // when it is no memory of at least the announced size.
    explicit SharedRegion(const android::hardware::hidl_memory& memory);
    ~SharedRegion();
    SharedRegion(SharedRegion&& other) noexcept;
    SharedRegion& operator=(SharedRegion&&) = delete;

    // Of what was sent by one thread at a time; throws std::system_error when it cannot be mapped.
    uint8_t* data() const;
    // Copies the region's first bytes without mapping it, where that can be done.
    bool read(void* to, size_t size) const;
    size_t size() const { return size_; }

    // The region as it travels in a call; lends its descriptor, so valid as long as the region.
    android::hardware::hidl_memory memory() const;
    android::hardware::hidl_handle handle() const;

private:
    // Takes over the descriptor of a region, of which the first `length` bytes are to be mapped.
    SharedRegion(android::base::unique_fd fd, size_t size, size_t length);

    size_t size_;
    size_t length_;  // Of the mapping.
    mutable void* address_ = nullptr;
    native_handle_t* handle_ = nullptr;
};

}  // namespace orva::client
