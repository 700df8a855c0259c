/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/Binder.h>

#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>

#include "Transport.h"

namespace android::hardware {

status_t BHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                             TransactCallback callback) {
    data.setDataPosition(0);
    const auto rewound = [&callback](Parcel& out) {
        out.setDataPosition(0);
        if (callback) {
            callback(out);
        }
    };
    const status_t status = onTransact(code, data, reply, flags, rewound);
    if (reply != nullptr) {
        reply->setDataPosition(0);
    }
    return status;
}

status_t BHwBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) {
    return INVALID_OPERATION;
}

status_t BHwBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

BpHwBinder::BpHwBinder(std::unique_ptr<RemoteObject> object) : mObject(std::move(object)) {}
BpHwBinder::~BpHwBinder() = default;

status_t BpHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                              TransactCallback) {
    if (data.errorCheck() != NO_ERROR) {
        return data.errorCheck();
    }
    return mObject->transact(code, data, reply, flags);
}

status_t BpHwBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t) {
    if (recipient == nullptr) {
        return BAD_VALUE;
    }
    Mutex::Autolock lock(mLock);
    if (mTold) {
        return DEAD_OBJECT;
    }
    mObituaries.push_back({recipient, cookie});
    if (mDead && mObituaries.size() == 1) {
        // On another thread, which may wait for locks that the caller holds.
        transport::post([self = sp<BpHwBinder>(this)] { self->sendObituary(); });
    }
    return NO_ERROR;
}

status_t BpHwBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t,
                                   wp<DeathRecipient>* outRecipient) {
    sp<DeathRecipient> removed;  // Released after the lock: it may be the last reference.
    Mutex::Autolock lock(mLock);
    if (mTold) {
        return DEAD_OBJECT;
    }
    for (auto it = mObituaries.begin(); it != mObituaries.end(); ++it) {
        if (recipient == it->recipient || (recipient == nullptr && cookie == it->cookie)) {
            if (outRecipient != nullptr) {
                *outRecipient = it->recipient;
            }
            removed = std::move(it->recipient);
            mObituaries.erase(it);
            return NO_ERROR;
        }
    }
    return NAME_NOT_FOUND;
}

void BpHwBinder::sendObituary() {
    std::vector<Obituary> obituaries;
    {
        Mutex::Autolock lock(mLock);
        mDead = true;
        obituaries.swap(mObituaries);
        mTold = mTold || !obituaries.empty();
    }
    for (const Obituary& obituary : obituaries) {
        obituary.recipient->binderDied(this);
    }
}

}  // namespace android::hardware
