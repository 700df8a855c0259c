/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hwbinder/IBinder.h>

namespace android::hardware {

// The local end of an object: what generated stubs derive from.
class BHwBinder : public IBinder {
public:
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;
    BHwBinder* localBinder() override { return this; }

    // Whether callers are asked for their security context: there is none on a Linux desk.
    void setRequestingSid(bool /*requestSid*/) {}

protected:
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0, TransactCallback callback = nullptr) = 0;

    // How callers are to be served; generated stubs set it, and it is not applied here.
    int mSchedPolicy = 0;
    int mSchedPriority = 0;
};

// What proxies stand on: holds the binder that reaches the object.
class BpHwRefBase : public virtual RefBase {
public:
    IBinder* remote() const { return mRemote.get(); }

protected:
    explicit BpHwRefBase(const sp<IBinder>& remote) : mRemote(remote) {}

private:
    const sp<IBinder> mRemote;
};

}  // namespace android::hardware
