/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "InChannel.h"

#include <algorithm>
#include <utility>

#include <sys/socket.h>

#include "Peer.h"

namespace android::hardware::socket {

InChannel::InChannel(base::unique_fd socket, std::shared_ptr<Peer> peer)
        : mPeer(std::move(peer)), mChannel(std::move(socket), *mPeer, Channel::Role::kServer) {}

void InChannel::close() {
    mChannel.shutDown();
    unwatch();
    mPeer->turns().forget(*this);
}

Io InChannel::serveOne() {
    const Io io = ReceivedMessage::receive(mChannel.socket(), Wait::kNo, &mCall);
    mPeer->dropDescriptors(std::exchange(mHeld, 0));
    if (io == Io::kDone) {
        return mChannel.serve(std::move(mCall)) ? Io::kEmpty : Io::kClosed;
    }
    if (mCall != nullptr) {
        mHeld = mCall->descriptorCount();
        if (!mPeer->holdDescriptors(mHeld)) {
            mHeld = 0;
            mCall->dropDescriptors();
        }
    }
    return io;
}

bool InChannel::isUrgent() {
    MessageHeader next;
    const ssize_t size = recv(mChannel.socket(), &next, sizeof next, MSG_PEEK | MSG_DONTWAIT);
    const bool call = size == sizeof next && next.kind == MessageKind::kCall;
    return mCall == nullptr && !mPeer->turns().anyServed() &&
           (!call || next.code > IBinder::LAST_CALL_TRANSACTION);
}

void InChannel::ready() {
    if (!mPeer->turns().begin(std::static_pointer_cast<InChannel>(shared_from_this()),
                              mPeer->mostServed())) {
        return;
    }
    const Io io = serveOne();
    mPeer->turns().end();
    if (io == Io::kEmpty) {
        watchAgain();
        return;
    }
    if (io == Io::kBroken) {
        mPeer->cut("it does not keep to the protocol");
    }
    mPeer->dropDescriptors(std::exchange(mHeld, 0));
    mPeer->forget(*this);
}

bool ServingTurns::begin(std::shared_ptr<InChannel> channel, size_t limit) {
    Mutex::Autolock lock(mLock);
    if (mServed < limit) {
        ++mServed;
        return true;
    }
    mWaiting.push_back(std::move(channel));
    return false;
}

void ServingTurns::end() {
    {
        Mutex::Autolock lock(mLock);
        --mServed;
    }
    callNext();
}

// One that finds another in its place meanwhile waits again: that one's end calls the next.
void ServingTurns::callNext() {
    std::shared_ptr<InChannel> next;
    {
        Mutex::Autolock lock(mLock);
        if (mWaiting.empty()) {
            return;
        }
        next = std::move(mWaiting.front());
        mWaiting.pop_front();
    }
    next->watchAgain();
}

bool ServingTurns::anyServed() {
    Mutex::Autolock lock(mLock);
    return mServed > 0;
}

void ServingTurns::forget(const InChannel& channel) {
    {
        Mutex::Autolock lock(mLock);
        mWaiting.erase(std::remove_if(mWaiting.begin(), mWaiting.end(),
                                      [&](const auto& each) { return each.get() == &channel; }),
                       mWaiting.end());
    }
    callNext();  // It may have been called, and will not come.
}

}  // namespace android::hardware::socket
