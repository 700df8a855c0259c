/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hwbinder/IBinder.h>

namespace android::hardware {

// One object of another process, as its transport reaches it. Destroying it gives up this process's
// hold on the object.
class RemoteObject {
public:
    virtual ~RemoteObject() = default;

    // Sends one call and, unless it is oneway, waits for its reply.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) = 0;
};

}  // namespace android::hardware
