/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "PeerObject.h"

#include "../RuntimeState.h"
#include "Peer.h"

namespace android::hardware::socket {

PeerObject::PeerObject(std::shared_ptr<Peer> peer, uint64_t number)
        : mPeer(std::move(peer)), mNumber(number) {
    ++runtimeState().proxies;
}

PeerObject::~PeerObject() {
    --runtimeState().proxies;
    mPeer->release(*this);
}

status_t PeerObject::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if ((flags & IBinder::FLAG_ONEWAY) == 0) {
        return mPeer->transact(mNumber, code, data, reply, flags);
    }
    ++mentions;
    const status_t status = mPeer->transact(mNumber, code, data, reply, flags);
    if (status != NO_ERROR) {
        --mentions;
    }
    return status;
}

}  // namespace android::hardware::socket
