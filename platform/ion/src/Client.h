/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <map>

#include <ion/ion.h>
#include <utils/Mutex.h>

#include "Backend.h"

namespace orva_platform::ion {

// What one open ION device holds. From any thread; results are 0 or a negative errno value.
class Client {
public:
    // The device's descriptor stays the caller's.
    Client(const Backend& backend, int device) : mBackend(backend), mDevice(device) {}

    int allocate(size_t length, size_t align, unsigned int heapMask, unique_fd* buffer) const;

    // User handles. A number is not given twice, so that one used after its end is found out.
    ion_user_handle_t add(unique_fd buffer);
    int share(ion_user_handle_t handle, unique_fd* buffer);
    int free(ion_user_handle_t handle);
    size_t handles();

private:
    const Backend& mBackend;
    const int mDevice;

    android::Mutex mLock;
    std::map<ion_user_handle_t, unique_fd> mBuffers GUARDED_BY(mLock);
    ion_user_handle_t mLast GUARDED_BY(mLock) = 0;
};

}  // namespace orva_platform::ion
