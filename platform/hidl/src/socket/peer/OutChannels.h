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
// bound, and kept. Oneway calls have one of their own, for one of them at a time, so that they
// arrive in order. Every operation may be called from any thread.
class OutChannels {
public:
    // What a channel is for: a call, a call that must have it at once, or oneway calls.
    enum class For { kCall, kCallAtOnce, kOneway };

    explicit OutChannels(Peer& peer) : mPeer(peer) {}

    // A call waits for its turn where there are as many as there may be, or no descriptors for one
    // more. Null when the peer has ended or there can be none. `fresh`: it was made for this.
    std::unique_ptr<Channel> acquire(For what, bool* fresh);
    void giveBack(For what, std::unique_ptr<Channel> channel);
    // Sees to it that there is one for calls. False when there can be none.
    bool ensureOne();

    // Whoever waits in one finds the peer gone.
    void shutDown();
    // For good.
    void close();

private:
    std::unique_ptr<Channel> open(For what);
    std::vector<std::unique_ptr<Channel>>& idle(For what) REQUIRES(mLock) {
        return what == For::kOneway ? mIdleOneway : mIdle;
    }
    void drop(For what, const Channel& channel) REQUIRES(mLock);
    void shutDownAll() REQUIRES(mLock);

    Peer& mPeer;
    Mutex mLock;
    Condition mReturned;
    bool mClosed GUARDED_BY(mLock) = false;
    std::vector<Channel*> mAll GUARDED_BY(mLock);
    size_t mForCalls GUARDED_BY(mLock) = 0;  // Those being opened included.
    std::vector<std::unique_ptr<Channel>> mIdle GUARDED_BY(mLock);
    std::vector<std::unique_ptr<Channel>> mIdleOneway GUARDED_BY(mLock);
};

}  // namespace android::hardware::socket
