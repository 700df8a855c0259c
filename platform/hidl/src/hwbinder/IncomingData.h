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
class IncomingData {
public:
    virtual ~IncomingData() = default;

    virtual const uint8_t* data() const = 0;
    virtual size_t dataSize() const = 0;
    // Where the objects stand in the data, ascending.
    virtual const uint64_t* objects() const = 0;
    virtual size_t objectsCount() const = 0;

    // The binder that the object of that number stands for.
    virtual sp<IBinder> binder(size_t index) const = 0;
};

}  // namespace android::hardware
