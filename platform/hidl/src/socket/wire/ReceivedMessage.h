/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <android-base/unique_fd.h>

#include "../../hwbinder/Transport.h"
#include "Packet.h"
#include "Wire.h"

namespace android::hardware::socket {

// Finds the objects that a message names.
class ObjectFinder {
public:
    virtual ~ObjectFinder() = default;

    // A proxy for one of the peer's objects, whose reception it counts; null when the peer has
    // made this process hold too many.
    virtual sp<IBinder> remote(uint64_t number) = 0;
    // One of this process's own objects; null when the peer does not hold it.
    virtual sp<IBinder> local(uint64_t number) = 0;
};

// One message as it came in, hostile until checked. Owns its bytes and its descriptors.
class ReceivedMessage final : public IncomingData {
public:
    // Receives and checks one message, all but its objects' meaning; into the given one when that
    // has begun. Waits for nothing but its start, if told so. kDone; kEmpty when it has not come,
    // or, where `message` is set then, not whole; a malformed one is kBroken, with its reason
    // logged.
    static Io receive(int socket, Wait wait, std::unique_ptr<ReceivedMessage>* message);

    ~ReceivedMessage() override;

    const MessageHeader& header() const { return mHeader; }

    // Whether the descriptors that belong to it could not be received. Nothing else of it is usable
    // then but its header.
    bool isIncomplete() const { return mIncomplete; }

    // Replaces the objects' numbers by binders. NO_ERROR; FAILED_TRANSACTION when one is too many;
    // BAD_VALUE when the sender does not hold what it names.
    status_t resolve(ObjectFinder& finder);
    // Whether that brought any of the sender's objects.
    bool bringsObjects() const { return mBringsObjects; }

    size_t descriptorCount() const;
    // Makes it a message whose descriptors could not be received.
    void dropDescriptors();

    // The descriptor of a message that carries one and no parcel.
    base::unique_fd takeDescriptor();

    sp<IBinder> binder(size_t index) const override;

private:
    ReceivedMessage();

    // What a message needs memory for; kept by its thread for the next one.
    struct Storage;

    Io receiveRest(int socket);
    const char* checkHeader(size_t received);
    const char* fixObjects();

    MessageHeader mHeader = {};
    size_t mTotal = 0;
    size_t mReceived = 0;        // Bytes of it.
    size_t mDescriptorsDue = 0;  // In packets that have yet to come.
    std::unique_ptr<Storage> mStorage;
    std::unique_ptr<uint8_t[]> mWhole;  // Of a message that is larger than a packet.
    uint8_t* mBytes;                    // In whichever of them the message is.
    bool mNamesObjects = false;
    bool mBringsObjects = false;
    bool mIncomplete = false;
};

}  // namespace android::hardware::socket
