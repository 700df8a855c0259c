/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <utility>

#include <cutils/native_handle.h>

#include <hidl/HidlInternal.h>

namespace android::hardware {

/**
 * A native handle, owned or only referred to; 16 bytes with a pointer first. Copying duplicates the
 * descriptors, each duplicate close-on-exec, and the copy owns them. Where that fails, for want of
 * descriptors or memory, the copy is null and the reason is logged.
 */
class hidl_handle {
public:
    hidl_handle() = default;
    /** Refers to a handle that the caller owns and that must outlive this one. */
    hidl_handle(const native_handle_t* handle) : mHandle(handle) {}
    hidl_handle(const hidl_handle& other);
    hidl_handle(hidl_handle&& other) noexcept { swap(other); }
    hidl_handle& operator=(hidl_handle other) noexcept {
        swap(other);
        return *this;
    }
    ~hidl_handle();

    /** Refers to a handle or, with shouldOwn, adopts it: its descriptors are then closed here. */
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* getNativeHandle() const { return mHandle; }
    const native_handle_t* operator->() const { return mHandle; }
    operator const native_handle_t*() const { return mHandle; }

private:
    friend struct details::ReceivedFields;

    void swap(hidl_handle& other) noexcept {
        std::swap(mHandle, other.mHandle);
        std::swap(mOwnsHandle, other.mOwnsHandle);
    }

    details::hidl_pointer<const native_handle_t> mHandle;
    bool mOwnsHandle = false;
    uint8_t mPad[7] = {};
};
static_assert(sizeof(hidl_handle) == 16, "wrong size");

}  // namespace android::hardware
