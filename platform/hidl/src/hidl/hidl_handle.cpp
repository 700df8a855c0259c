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
    *this = other;
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other)
        return *this;
    release();
    if (other.mHandle != nullptr) {
        mHandle = duplicate(other.mHandle);
        mOwnsHandle = true;
    }
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    // Assigning its own handle must not free what it is about to refer to.
    if (handle == mHandle)
        return *this;
    release();
    mHandle = handle;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    if (handle != mHandle)
        release();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

void hidl_handle::closeOwned() {
    if (mHandle != nullptr)
        closeAndDelete(const_cast<native_handle_t*>(getNativeHandle()));
}

}  // namespace android::hardware
