/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "WireKit.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>

#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <linux/android/binder.h>

#include "hwbinder/Transport.h"
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
        if (outgoing.pack(data) != android::NO_ERROR ||
            outgoing.send(sockets.ours.get(), TimeLimit(1)) != Io::kDone) {
            abort();
        }
        MessageHeader& header = outgoing.header;
        const size_t total = sizeof header + pad8(header.dataSize) +
                             header.objectCount * sizeof(uint64_t) + header.buffersSize;
        mMessage->bytes.clear();
        uint8_t packet[kPacketSize];
        for (size_t size; receivePacket(sockets.theirs.get(), packet, sizeof packet, &size,
                                        &mMessage->descriptors, Wait::kNo) == Io::kDone;) {
            mMessage->bytes.insert(mMessage->bytes.end(), packet, packet + size);
        }
        mMessage->bytes.resize(total);  // Without those that only carry descriptors.
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

namespace {

// Received as it is sent, packet by packet.
Io receive(const WireMessage& message, std::unique_ptr<ReceivedMessage>* received) {
    SocketPair sockets;
    std::vector<int> lent;
    for (const auto& descriptor : message.descriptors) {
        lent.push_back(descriptor);
    }
    Io io = Io::kEmpty;
    for (size_t sent = 0, given = 0;
         io == Io::kEmpty && (sent < message.bytes.size() || given < lent.size());) {
        const bool lends = sent == 0 || sent >= message.bytes.size();
        const size_t left = message.bytes.size() - std::min(sent, message.bytes.size());
        const size_t part = left > 0 ? std::min(kPacketSize, left) : 1;
        const size_t gives = lends ? std::min(message.each, lent.size() - given) : 0;
        if (sendPacket(sockets.ours.get(), message.bytes.data() + (left > 0 ? sent : 0), part,
                       lent.data() + given, gives, TimeLimit(1)) != Io::kDone) {
            abort();
        }
        sent += part;
        given += gives;
        io = ReceivedMessage::receive(sockets.theirs.get(), Wait::kNo, received);
    }
    return io;
}

}  // namespace

std::string deliver(WireMessage message, BHwBinder& stub) {
    std::unique_ptr<ReceivedMessage> received;
    Finder finder(&stub);
    if (message.bytes.empty() || receive(message, &received) != Io::kDone ||
        received->resolve(finder) != android::NO_ERROR) {
        return "broken";
    }
    message.descriptors.clear();
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
