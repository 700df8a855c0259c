/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/NativeHandle.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

#include "common/HeldResources.h"

namespace orva::hidl {

bool NativeHandle::Adopt(UniqueFd fd) {
    Reset();
    handle_ = native_handle_create(1, 0);
    if (handle_ == nullptr) {
        return false;
    }
    if (handle_->numFds > 0) {
        handle_->data[0] = fd.Release();
        heldResources.descriptors.fetch_add(1, std::memory_order_relaxed);
    }
    return true;
}

bool NativeHandle::Duplicate(const native_handle_t* other) {
    Reset();
    if (other == nullptr) {
        return true;
    }
    // By hand, because native_handle_clone() makes descriptors that a child process inherits.
    native_handle_t* const copy = native_handle_create(other->numFds, other->numInts);
    if (copy == nullptr) {
        return false;
    }
    handle_ = copy;
    for (int i = 0; i < other->numFds; ++i) {
        copy->data[i] = fcntl(other->data[i], F_DUPFD_CLOEXEC, 0);
        if (copy->data[i] < 0) {
            copy->numFds = i;
            Reset();
            return false;
        }
        heldResources.descriptors.fetch_add(1, std::memory_order_relaxed);
    }
    std::copy_n(other->data + other->numFds, other->numInts, copy->data + copy->numFds);
    return true;
}

native_handle_t* NativeHandle::Release() {
    if (handle_ != nullptr) {
        heldResources.descriptors.fetch_sub(static_cast<uint64_t>(handle_->numFds),
                                            std::memory_order_relaxed);
    }
    return std::exchange(handle_, nullptr);
}

void NativeHandle::Reset() {
    if (native_handle_t* const handle = Release()) {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
}

}  // namespace orva::hidl
