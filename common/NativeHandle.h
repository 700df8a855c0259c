/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include <cutils/native_handle.h>

#include "common/UniqueFd.h"

namespace orva::hidl {

struct NativeHandleCloser {
    void operator()(native_handle_t* handle) const {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
};

// Owns a native handle and the descriptors in it.
using NativeHandle = std::unique_ptr<native_handle_t, NativeHandleCloser>;

// A new handle of one descriptor and no integers. A negative descriptor is taken as it is. Null
// when memory ran out; the descriptor is then closed.
NativeHandle AdoptDescriptor(UniqueFd fd);

// A new handle with duplicates of another's descriptors. Null for null, and when they could not be
// made.
NativeHandle DuplicateHandle(const native_handle_t* other);

}  // namespace orva::hidl
