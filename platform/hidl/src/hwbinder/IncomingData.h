/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include <hwbinder/IBinder.h>

namespace android::hardware {

// Received data that a parcel stands on: checked, with every buffer pointer and descriptor in its
// place. Destroying it closes the descriptors and frees the buffers.
struct IncomingData {
    virtual ~IncomingData() = default;

    // The binder that the object of that number stands for.
    virtual sp<IBinder> binder(size_t index) const = 0;

    const uint8_t* data = nullptr;
    size_t dataSize = 0;
    const uint64_t* objects = nullptr;  // Where they stand in the data, ascending.
    size_t objectsCount = 0;
};

}  // namespace android::hardware
