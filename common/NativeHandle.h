/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <utility>

#include <cutils/native_handle.h>

#include "common/UniqueFd.h"

namespace orva::hidl {

// Owns a native handle and the descriptors in it; exactly the size of the pointer.
class NativeHandle {
public:
    NativeHandle() = default;
    ~NativeHandle() { Reset(); }
    NativeHandle(NativeHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    NativeHandle& operator=(NativeHandle&& other) noexcept {
        // What was held goes with this.
        NativeHandle(std::move(other)).Swap(*this);
        return *this;
    }

    // Takes a descriptor into a new handle of one descriptor and no integers, in place of what was
    // held. A negative value is taken as it is. False, and nothing held, when memory ran out; the
    // descriptor is then closed.
    bool Adopt(UniqueFd fd);
    // Holds duplicates of another handle's descriptors (nothing for null), in place of what was
    // held. False, and nothing held, when they could not be made.
    bool Duplicate(const native_handle_t* other);
    // The caller's from here on, with its descriptors.
    native_handle_t* Release();
    void Reset();

    const native_handle_t* Get() const { return handle_; }

private:
    void Swap(NativeHandle& other) { std::swap(handle_, other.handle_); }

    native_handle_t* handle_ = nullptr;
};

}  // namespace orva::hidl
