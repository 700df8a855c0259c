/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "WireKit.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

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
using android::base::unique_fd;

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

unique_fd takeLast(std::vector<unique_fd>* descriptors) {
    unique_fd last = std::move(descriptors->back());
    descriptors->pop_back();
    return last;
}

// One packet, with what travels behind it.
void takeFrom(int socket, WireMessage* message) {
    size_t size;
    message->bytes.resize(kPacketSize);
    message->descriptors.clear();
    receivePacket(socket, message->bytes.data(), kPacketSize, &size, &message->descriptors,
                  Wait::kNo);
    message->bytes.resize(size);
    const MessageHeader header = message->header();
    const unique_fd further =
            header.descriptors > kPacketDescriptors ? takeLast(&message->descriptors) : unique_fd();
    const size_t total = sizeof header + pad8(header.dataSize) +
                         header.objectCount * sizeof(uint64_t) + header.buffersSize;
    if (total > size) {
        const unique_fd file = takeLast(&message->descriptors);
        message->bytes.resize(total);
        if (pread(file, message->bytes.data() + size, total - size, 0) !=
            static_cast<ssize_t>(total - size)) {
            abort();
        }
    }
    for (uint8_t nothing;
         further >= 0 && receivePacket(further, &nothing, 1, &size, &message->descriptors,
                                       Wait::kNo) == Io::kDone;) {
    }
}

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
        takeFrom(sockets.theirs.get(), mMessage);
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

Io receive(const WireMessage& message, std::unique_ptr<ReceivedMessage>* received) {
    const std::vector<unique_fd>& all = message.descriptors;
    std::vector<int> lent(all.begin(), all.end());
    const size_t carried = std::min(kPacketDescriptors, lent.size());
    SocketPair further;
    for (size_t given = carried; given < lent.size(); given += message.each) {
        sendPacket(further.ours, "", 1, lent.data() + given,
                   std::min(message.each, lent.size() - given), TimeLimit(1));
    }
    lent.resize(carried);
    const unique_fd file(memfd_create("message", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const size_t first = std::min(kPacketSize, message.bytes.size());
    if (first < message.bytes.size()) {
        const size_t rest = message.bytes.size() - first;
        if (write(file, message.bytes.data() + first, rest) != static_cast<ssize_t>(rest) ||
            fcntl(file, F_ADD_SEALS, message.seals) != 0) {
            abort();
        }
        lent.push_back(file);
    }
    if (carried < all.size()) {
        lent.push_back(further.theirs);
    }
    further.ours.reset();
    const SocketPair sockets;
    if (sendPacket(sockets.ours, message.bytes.data(), first, lent.data(), lent.size(),
                   TimeLimit(1)) != Io::kDone) {
        abort();
    }
    return ReceivedMessage::receive(sockets.theirs, Wait::kNo, received);
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
