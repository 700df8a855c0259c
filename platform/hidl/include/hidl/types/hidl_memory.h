/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <hidl/types/hidl_handle.h>
#include <hidl/types/hidl_string.h>

namespace android::hardware {

/** A shared memory region: its kind's name, the handle that holds its descriptor, its size. */
class hidl_memory {
public:
    hidl_memory() = default;
    hidl_memory(const hidl_string& name, hidl_handle&& handle, size_t size)
            : mHandle(std::move(handle)), mSize(size), mName(name) {}
    /** Refers to a handle that the caller owns; copying duplicates it, as with hidl_handle. */
    hidl_memory(const hidl_string& name, const native_handle_t* handle, size_t size)
            : mHandle(handle), mSize(size), mName(name) {}

    const native_handle_t* handle() const { return mHandle; }
    const hidl_string& name() const { return mName; }
    /** In bytes, as the sender says: the region itself may be smaller. */
    size_t size() const { return static_cast<size_t>(mSize); }

    static constexpr size_t kOffsetOfName = 24;

private:
    friend struct details::ReceivedFields;

    hidl_handle mHandle;
    uint64_t mSize = 0;
    hidl_string mName;
};
static_assert(sizeof(hidl_memory) == 40, "wrong size");

}  // namespace android::hardware
