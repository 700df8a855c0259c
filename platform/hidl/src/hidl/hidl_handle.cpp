/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/types/hidl_handle.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <log/log.h>

namespace android::hardware {

namespace {

void closeAndDelete(native_handle_t* handle) {
    native_handle_close(handle);
    native_handle_delete(handle);
}

// cutils' native_handle_clone makes duplicates that a child process would inherit.
native_handle_t* duplicate(const native_handle_t* handle) {
    native_handle_t* copy = native_handle_create(handle->numFds, handle->numInts);
    if (copy == nullptr) {
        ALOGE("hidl_handle: no native handle of %d descriptors and %d integers", handle->numFds,
              handle->numInts);
        return nullptr;
    }
    for (int i = 0; i < handle->numFds; ++i) {
        copy->data[i] = fcntl(handle->data[i], F_DUPFD_CLOEXEC, 0);
        if (copy->data[i] < 0) {
            ALOGE("hidl_handle: cannot duplicate descriptor %d: %s", handle->data[i],
                  strerror(errno));
            copy->numFds = i;
            closeAndDelete(copy);
            return nullptr;
        }
    }
    if (handle->numInts > 0) {
        memcpy(&copy->data[handle->numFds], &handle->data[handle->numFds],
               sizeof(int) * static_cast<size_t>(handle->numInts));
    }
    return copy;
}

}  // namespace

hidl_handle::hidl_handle(const hidl_handle& other) {
    if (other.mHandle != nullptr)
        setTo(duplicate(other.mHandle), true);
}

hidl_handle::~hidl_handle() {
    if (mOwnsHandle && mHandle != nullptr)
        closeAndDelete(const_cast<native_handle_t*>(getNativeHandle()));
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    hidl_handle before;
    if (handle != mHandle)
        swap(before);
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

}  // namespace android::hardware
