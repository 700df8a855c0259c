/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "PeerObject.h"

#include "Link.h"
#include "RuntimeCounts.h"

namespace android {
namespace hardware {
namespace socket {

PeerObject::PeerObject(std::shared_ptr<Link> link, uint64_t number)
        : mLink(std::move(link)), mNumber(number) {
    ++runtimeCounts().proxies;
}

PeerObject::~PeerObject() {
    --runtimeCounts().proxies;
    mLink->release(*this);
}

status_t PeerObject::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if ((flags & IBinder::FLAG_ONEWAY) == 0) {
        return mLink->transact(mNumber, code, data, reply, flags);
    }
    ++mentions;
    const status_t status = mLink->transact(mNumber, code, data, reply, flags);
    if (status != NO_ERROR) {
        --mentions;
    }
    return status;
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
