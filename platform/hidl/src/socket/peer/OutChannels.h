/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <utils/Condition.h>
#include <utils/Mutex.h>

#include "Channel.h"

namespace android::hardware::socket {

// The channels on which this process calls a peer: opened as calls at once need them, within a
// bound, and kept. Every operation may be called from any thread.
class OutChannels {
public:
    explicit OutChannels(Peer& peer) : mPeer(peer) {}

    // One for a call. Waits for its turn where there are as many as there may be, or no
    // descriptors for one more; unless it must be had `atOnce`. Null when the peer has ended or
    // there can be none. `fresh`: it was made for this.
    std::unique_ptr<Channel> acquire(bool* fresh, bool atOnce = false);
    void giveBack(std::unique_ptr<Channel> channel);
    // Sees to it that there is one. False when there can be none.
    bool ensureOne();

    // Oneway calls share a channel, so that they arrive in order.
    status_t transactOneway(uint64_t target, uint32_t code, const Parcel& data, uint32_t flags);

    // Whoever waits in one finds the peer gone.
    void shutDown();
    // For good.
    void close();

private:
    std::unique_ptr<Channel> open(bool atOnce);
    void drop(Channel& channel) REQUIRES(mLock);
    void shutDownLocked() REQUIRES(mLock);

    Peer& mPeer;
    Mutex mLock;
    Condition mReturned;
    bool mClosed GUARDED_BY(mLock) = false;
    std::vector<Channel*> mAll GUARDED_BY(mLock);  // But for the one for oneway calls.
    std::vector<std::unique_ptr<Channel>> mIdle GUARDED_BY(mLock);
    size_t mOpening GUARDED_BY(mLock) = 0;
    Channel* mOnewayOpen GUARDED_BY(mLock) = nullptr;

    Mutex mOnewayLock;
    std::unique_ptr<Channel> mOneway GUARDED_BY(mOnewayLock);
};

}  // namespace android::hardware::socket
