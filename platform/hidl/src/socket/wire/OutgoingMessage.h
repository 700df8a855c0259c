/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>

#include "Packet.h"
#include "Wire.h"

namespace android::hardware::socket {

// Gives the objects in a message the numbers by which the peer knows them.
class ObjectNumbers {
public:
    virtual ~ObjectNumbers() = default;

    // The number of one of this process's objects; counts one more reception by the peer.
    virtual uint64_t numberOfLocal(const sp<IBinder>& binder) = 0;
    // Takes back one such reception of an object that was not sent after all.
    virtual void takeBack(uint64_t number) = 0;
    // The number of one of the peer's own objects, which the message mentions; false when it is a
    // third process's.
    virtual bool numberOfRemote(const sp<IBinder>& binder, uint64_t* number) = 0;
    // Takes back such a mention in a message that was not sent after all.
    virtual void takeBackMention(const sp<IBinder>& binder) = 0;
};

// An object of the peer's that this process gives up: its number, how often it was received, and in
// how many messages it is mentioned.
struct Release {
    uint64_t number = 0;
    uint32_t receptions = 0;
    uint32_t mentions = 0;
};

// One message as it goes out: a parcel laid out flat, and the descriptors it lends.
class OutgoingMessage {
public:
    // `numbers` outlives the message.
    OutgoingMessage(MessageKind kind, ObjectNumbers& numbers);
    ~OutgoingMessage();
    OutgoingMessage(const OutgoingMessage&) = delete;
    OutgoingMessage& operator=(const OutgoingMessage&) = delete;

    MessageHeader header;

    // Lays out a parcel, which must outlive the message. NO_ERROR, or FAILED_TRANSACTION, with a
    // logged reason, when it is too large, is malformed or holds what cannot be passed on.
    status_t pack(const Parcel& parcel);

    // Tells of an object given up, or of none.
    void tell(const Release& release);

    // Lends one descriptor.
    void lend(int descriptor);

    // After kDone, the peer has the message's objects.
    Io send(int socket, const Deadline& deadline);

private:
    struct Scratch;

    status_t measure(const Parcel& parcel, uint64_t* total);
    status_t lendArray(const uint8_t* object, size_t index);
    status_t translateBinder(uint8_t* place);

    ObjectNumbers& mNumbers;
    std::unique_ptr<Scratch> mScratch;
};

}  // namespace android::hardware::socket
