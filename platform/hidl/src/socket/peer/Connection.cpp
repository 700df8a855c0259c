/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Connection.h"

#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "Peer.h"

namespace android::hardware::socket {

namespace {

// A socket that nothing was sent on has room.
constexpr TimeLimit kWelcomeSendLimit{1};

}  // namespace

Connection::Connection(base::unique_fd socket, std::shared_ptr<Peer> peer, Use why)
        : use(why), mSocket(std::move(socket)), mPeer(std::move(peer)) {}

void Connection::shutDown() {
    ::shutdown(mSocket, SHUT_RDWR);
}

void Connection::close() {
    shutDown();
    unwatch();
}

bool Connection::connected() const {
    pollfd entry = {mSocket, POLLRDHUP, 0};
    return poll(&entry, 1, 0) == 0;
}

bool Connection::welcome(uint64_t number) {
    OutgoingMessage message(MessageKind::kWelcome, *mPeer);
    message.header.target = number;
    return message.send(mSocket, kWelcomeSendLimit) == Io::kDone;
}

Io Connection::awaitWelcome(const Deadline& deadline, uint64_t* number) {
    std::unique_ptr<ReceivedMessage> message;
    Io io = waitReadable(mSocket, deadline);
    if (io == Io::kDone) {
        io = ReceivedMessage::receive(mSocket, Wait::kNo, &message);
    }
    if (io != Io::kDone) {
        return io == Io::kEmpty ? Io::kBroken : io;
    }
    *number = message->header().target;
    return message->header().kind == MessageKind::kWelcome && *number != 0 ? Io::kDone
                                                                           : Io::kBroken;
}

void Connection::ready() {
    // One message at a time, so that no peer keeps the thread from the others.
    std::unique_ptr<ReceivedMessage> message;
    const Io io = ReceivedMessage::receive(mSocket, Wait::kNo, &message);
    mWasHeard = mWasHeard || io == Io::kDone;
    // What travels here fits into a packet.
    const bool nothing = io == Io::kEmpty && message == nullptr;
    if (nothing || (io == Io::kDone && mPeer->handle(*message))) {
        watchAgain();
        return;
    }
    if (io != Io::kClosed) {
        mPeer->cut("it does not keep to the protocol");
    }
    mPeer->ended(*this);
}

ProcessEnd::ProcessEnd(base::unique_fd process, std::weak_ptr<Peer> peer)
        : mProcess(std::move(process)), mPeer(std::move(peer)) {}

void ProcessEnd::open() {
    if (mProcess >= 0) {
        watch(mProcess);
    }
}

void ProcessEnd::ready() {
    if (const auto peer = mPeer.lock()) {
        peer->end(Peer::End::kGone);
    }
}

}  // namespace android::hardware::socket
