/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "WireKit.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <linux/android/binder.h>

#include "hwbinder/RemoteObject.h"
#include "socket/OutgoingMessage.h"
#include "socket/ReceivedMessage.h"

namespace orva_test {

using android::sp;
using android::status_t;
using android::base::unique_fd;
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

// What a parcel becomes on the wire; nothing when it is too large.
WireMessage pack(const Parcel& parcel, MessageKind kind, uint32_t code = 0, uint32_t flags = 0) {
    OneNumber numbers;
    OutgoingMessage outgoing(kind, numbers);
    outgoing.header.target = 1;
    outgoing.header.code = code;
    outgoing.header.flags = flags;
    SocketPair sockets;
    WireMessage message;
    if (outgoing.pack(parcel) != android::NO_ERROR ||
        outgoing.send(sockets.ours.get(), TimeLimit(1)) != Io::kDone) {
        return message;
    }
    for (size_t size = 1; size > 0;) {
        std::vector<uint8_t> packet(kPacketSize);
        size = 0;
        receivePacket(sockets.theirs.get(), packet.data(), packet.size(), &size,
                      &message.descriptors, Wait::kNo);
        message.bytes.insert(message.bytes.end(), packet.begin(), packet.begin() + size);
    }
    return message;
}

struct DeadObject : RemoteObject {
    status_t transact(uint32_t, const Parcel&, Parcel*, uint32_t) override {
        return android::DEAD_OBJECT;
    }
};

struct Recorder : RemoteObject {
    explicit Recorder(WireMessage* message) : mMessage(message) {}
    status_t transact(uint32_t code, const Parcel& data, Parcel*, uint32_t flags) override {
        *mMessage = pack(data, MessageKind::kCall, code, flags);
        return android::DEAD_OBJECT;
    }
    WireMessage* const mMessage;
};

// The peer's objects are all dead, and it holds one of ours.
struct Finder : ObjectFinder {
    explicit Finder(const sp<IBinder>& held) : mHeld(held) {}
    sp<IBinder> remote(uint64_t) override { return deadBinder(); }
    sp<IBinder> local(uint64_t number) override { return number == 1 ? mHeld : nullptr; }
    const sp<IBinder> mHeld;
};

}  // namespace

MessageHeader& WireMessage::header() {
    return *reinterpret_cast<MessageHeader*>(bytes.data());
}

uint8_t* WireMessage::data() {
    return bytes.data() + sizeof(MessageHeader);
}

uint64_t* WireMessage::offsets() {
    return reinterpret_cast<uint64_t*>(data() + pad8(header().dataSize));
}

uint8_t* WireMessage::buffer(size_t index) {
    auto* at = reinterpret_cast<uint8_t*>(offsets() + header().objectCount);
    for (size_t i = 0; i < index; ++i) {
        const auto& object = this->object<binder_buffer_object>(i);
        at += object.hdr.type == BINDER_TYPE_PTR ? pad8(object.length) : 0;
    }
    return at;
}

sp<IBinder> deadBinder() {
    return new BpHwBinder(std::make_unique<DeadObject>());
}

WireMessage record(const std::function<void(const sp<IBinder>&)>& call) {
    WireMessage message;
    call(new BpHwBinder(std::make_unique<Recorder>(&message)));
    return message;
}

SocketPair::SocketPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        abort();
    }
    ours.reset(ends[0]);
    theirs.reset(ends[1]);
}

void send(int socket, const WireMessage& message) {
    std::vector<int> lent;
    for (const unique_fd& descriptor : message.descriptors) {
        lent.push_back(descriptor.get());
    }
    for (size_t sent = 0; sent < message.bytes.size(); sent += kPacketSize) {
        const size_t part = std::min(kPacketSize, message.bytes.size() - sent);
        sendPacket(socket, message.bytes.data() + sent, part, lent.data(), lent.size(),
                   TimeLimit(1000));
        lent.clear();
    }
}

std::ostream& operator<<(std::ostream& out, const Fate& fate) {
    out << "io " << static_cast<int>(fate.io) << ", status " << fate.status << ", reply";
    for (const uint8_t byte : fate.reply) {
        out << ' ' << static_cast<int>(byte);
    }
    return out;
}

Fate deliver(const WireMessage& message, BHwBinder& stub) {
    SocketPair sockets;
    send(sockets.ours.get(), message);
    sockets.ours.reset();  // Nothing follows, so that what is missing is not waited for.
    std::unique_ptr<ReceivedMessage> received;
    Fate fate = {ReceivedMessage::receive(sockets.theirs.get(), Wait::kNo, &received), 0, {}};
    Finder finder(&stub);
    if (fate.io != Io::kDone || !received->resolve(finder)) {
        fate.io = fate.io == Io::kDone ? Io::kBroken : fate.io;
        return fate;
    }
    bool answered = false;
    const auto answer = [&](Parcel& out) {
        answered = true;
        WireMessage sent = pack(out, MessageKind::kReply);
        if (!sent.bytes.empty()) {
            fate.reply.assign(sent.data(), sent.data() + sent.header().dataSize);
        }
    };
    const MessageHeader header = received->header();
    Parcel data;
    Parcel reply;
    data.setIncoming(std::move(received));
    fate.status = stub.transact(header.code, data, &reply, header.flags, answer);
    if (!answered && fate.status == android::NO_ERROR) {
        answer(reply);  // What returns nothing leaves it to the transport.
    }
    return fate;
}

}  // namespace orva_test
