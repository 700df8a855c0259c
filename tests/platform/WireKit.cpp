/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "WireKit.h"

#include <sys/socket.h>

#include <cstdlib>

#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <linux/android/binder.h>

#include "hwbinder/RemoteObject.h"
#include "socket/wire/OutgoingMessage.h"
#include "socket/wire/ReceivedMessage.h"

namespace orva_test {

using android::sp;
using android::status_t;
using namespace android::hardware;
using namespace android::hardware::socket;

namespace {

// All objects have the number 1: of these messages, nobody holds any.
struct OneNumber : ObjectNumbers {
    uint64_t numberOfLocal(const sp<IBinder>&) override { return 1; }
    void takeBack(uint64_t) override {}
    bool numberOfRemote(const sp<IBinder>&, uint64_t* number) override {
        *number = 1;
        return true;
    }
    void takeBackMention(const sp<IBinder>&) override {}
};

// The far end of a proxy: every call fails, and what it puts on the wire is kept where that is
// asked.
struct DeadObject : RemoteObject {
    explicit DeadObject(WireMessage* message) : mMessage(message) {}
    status_t transact(uint32_t code, const Parcel& data, Parcel*, uint32_t flags) override {
        if (mMessage == nullptr) {
            return android::DEAD_OBJECT;
        }
        OneNumber numbers;
        OutgoingMessage outgoing(MessageKind::kCall, numbers);
        outgoing.header.target = 1;
        outgoing.header.code = code;
        outgoing.header.flags = flags;
        const SocketPair sockets;
        size_t size = 0;
        mMessage->bytes.resize(kPacketSize);
        if (outgoing.pack(data) != android::NO_ERROR ||
            outgoing.send(sockets.ours.get(), TimeLimit(1)) != Io::kDone ||
            receivePacket(sockets.theirs.get(), mMessage->bytes.data(), kPacketSize, &size,
                          &mMessage->descriptors, Wait::kNo) != Io::kDone) {
            abort();
        }
        mMessage->bytes.resize(size);
        return android::DEAD_OBJECT;
    }
    WireMessage* const mMessage;
};

// The peer's objects are all dead, and it holds one of ours.
struct Finder : ObjectFinder {
    explicit Finder(const sp<IBinder>& held) : mHeld(held) {}
    sp<IBinder> remote(uint64_t) override { return deadProxy(nullptr); }
    sp<IBinder> local(uint64_t number) override { return number == 1 ? mHeld : nullptr; }
    const sp<IBinder> mHeld;
};

}  // namespace

sp<IBinder> deadProxy(WireMessage* message) {
    return new BpHwBinder(std::make_unique<DeadObject>(message));
}

uint8_t* WireMessage::buffer(size_t index) {
    auto* at = reinterpret_cast<uint8_t*>(offsets() + header().objectCount);
    for (size_t i = 0; i < index; ++i) {
        const auto& object = this->object<binder_buffer_object>(i);
        at += object.hdr.type == BINDER_TYPE_PTR ? pad8(object.length) : 0;
    }
    return at;
}

SocketPair::SocketPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        abort();
    }
    ours.reset(ends[0]);
    theirs.reset(ends[1]);
}

std::string deliver(WireMessage message, BHwBinder& stub) {
    std::unique_ptr<ReceivedMessage> received;
    Finder finder(&stub);
    if (message.bytes.empty() || message.bytes.size() > kPacketSize ||
        ReceivedMessage::check(message.bytes.data(), message.bytes.size(),
                               std::move(message.descriptors), &received) != Io::kDone ||
        received->resolve(finder) != android::NO_ERROR) {
        return "broken";
    }
    std::string answered;
    const auto answer = [&](Parcel& out) {
        answered = "answer";
        out.setDataPosition(0);
        for (int32_t word; out.readInt32(&word) == android::NO_ERROR;) {
            answered += ' ' + std::to_string(word);
        }
    };
    const MessageHeader header = received->header();
    Parcel data;
    Parcel reply;
    data.setIncoming(std::move(received));
    const status_t status = stub.transact(header.code, data, &reply, header.flags, answer);
    if (status != android::NO_ERROR) {
        return "status " + std::to_string(status);
    }
    if (answered.empty()) {
        answer(reply);  // What returns nothing leaves it to the transport.
    }
    return answered;
}

}  // namespace orva_test
