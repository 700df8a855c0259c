/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <memory>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "../pool/Poller.h"
#include "../wire/Packet.h"
#include "../wire/ReceivedMessage.h"

namespace android::hardware::socket {

class Peer;

// A socket between a service's and its client's process, on which new channels and releases travel.
// Whoever has it keeps it open.
class Connection : public PollItem {
public:
    // What it is there for: the peer made it; this process did, and keeps it for as long as either
    // side holds an object of the other's; or it did, to ask what is served there.
    enum class Use { kByPeer, kToPeer, kAsking };

    Connection(base::unique_fd socket, std::shared_ptr<Peer> peer, Use why);

    Use use;  // Guarded by the peer's lock.

    // Handles what comes, from here on. False when the kernel has no room for it.
    bool open() { return watch(mSocket); }
    // Ends it; what waits on it finds it closed.
    void shutDown();
    void close();
    void ready() override;

    int socket() const { return mSocket; }
    // Whether the other end was there a moment ago, whatever the pool has noticed yet.
    bool connected() const;

    // Whether anything came on it. A client may close one that it only asked on, unread.
    bool wasHeard() const { return mWasHeard; }

    // Sends the number of what is served there, and waits for it.
    bool welcome(uint64_t number);
    Io awaitWelcome(const Deadline& deadline, uint64_t* number);

private:
    const base::unique_fd mSocket;
    const std::shared_ptr<Peer> mPeer;
    std::atomic<bool> mWasHeard{false};
};

// The end of a peer's process, where the kernel has a descriptor that tells of it.
class ProcessEnd : public PollItem {
public:
    ProcessEnd(base::unique_fd process, std::weak_ptr<Peer> peer);
    void open();
    void close() { unwatch(); }
    void ready() override;

private:
    const base::unique_fd mProcess;
    const std::weak_ptr<Peer> mPeer;
};

}  // namespace android::hardware::socket
