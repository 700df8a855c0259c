/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <vector>

#include <hwbinder/IBinder.h>
#include <utils/Mutex.h>

namespace android::hardware {

class RemoteObject;

// A proxy's binder: one object of another process. How its calls get there is the transport's
// business, behind RemoteObject.
class BpHwBinder : public IBinder {
public:
    explicit BpHwBinder(std::unique_ptr<RemoteObject> object);

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;
    BpHwBinder* remoteBinder() override { return this; }

    RemoteObject& object() const { return *mObject; }

    // The transport's word that the object's process has gone: tells every linked recipient, once;
    // if none is linked yet, the first that comes.
    void sendObituary();

protected:
    ~BpHwBinder() override;

private:
    struct Obituary {
        sp<DeathRecipient> recipient;
        void* cookie;
    };

    const std::unique_ptr<RemoteObject> mObject;
    Mutex mLock;
    bool mDead GUARDED_BY(mLock) = false;
    bool mTold GUARDED_BY(mLock) = false;  // A recipient was, of the death.
    std::vector<Obituary> mObituaries GUARDED_BY(mLock);
};

}  // namespace android::hardware
