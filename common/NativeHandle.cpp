/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/NativeHandle.h"

#include <fcntl.h>

#include <algorithm>

namespace orva::hidl {

NativeHandle AdoptDescriptor(UniqueFd fd) {
    NativeHandle handle(native_handle_create(1, 0));
    if (handle != nullptr && handle->numFds > 0) {
        handle->data[0] = fd.Release();
    }
    return handle;
}

NativeHandle DuplicateHandle(const native_handle_t* other) {
    if (other == nullptr) {
        return nullptr;
    }
    // By hand, because native_handle_clone() makes descriptors that a child process inherits.
    NativeHandle copy(native_handle_create(other->numFds, other->numInts));
    if (copy == nullptr) {
        return nullptr;
    }
    for (int i = 0; i < other->numFds; ++i) {
        copy->data[i] = fcntl(other->data[i], F_DUPFD_CLOEXEC, 0);
        if (copy->data[i] < 0) {
            copy->numFds = i;
            return nullptr;
        }
    }
    std::copy_n(other->data + other->numFds, other->numInts, copy->data + copy->numFds);
    return copy;
}

}  // namespace orva::hidl
