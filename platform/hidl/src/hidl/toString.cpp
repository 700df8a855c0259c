/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/types/toString.h>

#include <hidl/HidlSupport.h>

namespace android::hardware {

std::string toString(const hidl_string& text) {
    return "\"" + std::string(text) + "\"";
}

std::string toString(const hidl_handle& handle) {
    const native_handle_t* native = handle;
    if (native == nullptr)
        return "native_handle(null)";
    return "native_handle(" + std::to_string(native->numFds) + " fds, " +
           std::to_string(native->numInts) + " ints)";
}

std::string toString(const hidl_memory& memory) {
    return "memory {.name = " + toString(memory.name()) +
           ", .size = " + std::to_string(memory.size()) +
           ", .handle = " + toString(hidl_handle(memory.handle())) + "}";
}

}  // namespace android::hardware
