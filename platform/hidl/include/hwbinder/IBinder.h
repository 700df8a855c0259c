/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>

#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace android::hardware {

class BHwBinder;
class BpHwBinder;
class Parcel;

// An object that can be called across processes: local (BHwBinder) or a proxy (BpHwBinder).
class IBinder : public virtual RefBase {
public:
    enum {
        LAST_CALL_TRANSACTION = 0x0effffff,
        FLAG_ONEWAY = 0x00000001,
    };

    // Takes the reply while everything that it points into still lives.
    using TransactCallback = std::function<void(Parcel&)>;

    class DeathRecipient : public virtual RefBase {
    public:
        // The object's process has gone. Called once, on a thread of the pool.
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    // Calls the object and waits, unless the flags say FLAG_ONEWAY. Transport failures:
    // DEAD_OBJECT, FAILED_TRANSACTION, BAD_TYPE, UNKNOWN_TRANSACTION and the like.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                              TransactCallback callback = nullptr) = 0;

    // OK, and the recipient is told, at once when the process has gone already; DEAD_OBJECT when
    // recipients of this proxy have been told before; INVALID_OPERATION on a local object.
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;

    // OK; NAME_NOT_FOUND when no such recipient is linked; DEAD_OBJECT when it is too late.
    // A null recipient is found by its cookie.
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0,
                                   wp<DeathRecipient>* outRecipient = nullptr) = 0;

    virtual BHwBinder* localBinder() { return nullptr; }
    virtual BpHwBinder* remoteBinder() { return nullptr; }

protected:
    ~IBinder() override = default;
};

}  // namespace android::hardware
