/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <deque>
#include <memory>

#include <android-base/unique_fd.h>
#include <utils/Mutex.h>

#include "../pool/Poller.h"
#include "Channel.h"

namespace android::hardware::socket {

// A channel on which the peer calls; served by the pool. A call that has not come whole, or for
// which it is not the peer's turn, waits here without a thread.
class InChannel : public PollItem {
public:
    InChannel(base::unique_fd socket, std::shared_ptr<Peer> peer);

    // Serves from here on. False when the kernel has no room for it.
    bool open() { return watch(mChannel.socket()); }
    void close();
    void ready() override;
    // What every object has, such as a ping or a dump, if nothing else is served for the peer.
    bool isUrgent() override;

private:
    friend class ServingTurns;

    Io serveOne();

    const std::shared_ptr<Peer> mPeer;
    Channel mChannel;
    // Of the thread that has the channel to itself.
    std::unique_ptr<ReceivedMessage> mCall;  // As far as it has come.
    size_t mHeld = 0;                        // Descriptors of it that are counted.
};

// Bounds how many calls of one peer are served at once. Further ones wait without a thread, in the
// order in which they came. Every operation may be called from any thread.
class ServingTurns {
public:
    // Whether a channel may be served now; its end() is due then. Otherwise it is watched again
    // when it is its turn.
    bool begin(std::shared_ptr<InChannel> channel, size_t limit);
    void end();
    bool anyServed();
    // It will not come any more, and is the caller's.
    void forget(const InChannel& channel);

private:
    void callNext();

    Mutex mLock;
    size_t mServed GUARDED_BY(mLock) = 0;
    std::deque<std::shared_ptr<InChannel>> mWaiting GUARDED_BY(mLock);
};

}  // namespace android::hardware::socket
