/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "OutChannels.h"

#include <algorithm>
#include <utility>

#include "Peer.h"

namespace android::hardware::socket {

std::unique_ptr<Channel> OutChannels::acquire(For what, bool* fresh) {
    for (bool mayOpen = true;; mayOpen = false) {
        {
            Mutex::Autolock lock(mLock);
            auto& idle = this->idle(what);
            const size_t most = mayOpen ? mPeer.mostCallsTo() : 1;
            while (what == For::kCall && !mClosed && idle.empty() && mForCalls >= most) {
                mReturned.wait(mLock);
            }
            *fresh = idle.empty();
            if (mClosed || (*fresh && !mayOpen)) {
                return nullptr;
            }
            if (!*fresh) {
                std::unique_ptr<Channel> channel = std::move(idle.back());
                idle.pop_back();
                return channel;
            }
            mForCalls += what == For::kOneway ? 0 : 1;
        }
        if (std::unique_ptr<Channel> channel = open(what)) {
            return channel;
        }
    }
}

// Without the lock, since it sends; the caller has counted it.
std::unique_ptr<Channel> OutChannels::open(For what) {
    std::unique_ptr<Channel> channel = mPeer.openChannel(what == For::kCallAtOnce);
    Mutex::Autolock lock(mLock);
    if (channel != nullptr && !mClosed) {
        mAll.push_back(channel.get());
        return channel;
    }
    mForCalls -= what == For::kOneway ? 0 : 1;
    mReturned.broadcast();
    return nullptr;
}

void OutChannels::drop(For what, const Channel& channel) {
    mAll.erase(std::find(mAll.begin(), mAll.end(), &channel));
    mForCalls -= what == For::kOneway ? 0 : 1;
}

void OutChannels::giveBack(For what, std::unique_ptr<Channel> channel) {
    Mutex::Autolock lock(mLock);
    if (!mClosed && channel->usable()) {
        idle(what).push_back(std::move(channel));
    } else {
        drop(what, *channel);
    }
    mReturned.signal();
}

bool OutChannels::ensureOne() {
    {
        Mutex::Autolock lock(mLock);
        if (mClosed || mForCalls > 0) {
            return !mClosed;
        }
    }
    bool fresh;
    std::unique_ptr<Channel> channel = acquire(For::kCallAtOnce, &fresh);
    if (channel == nullptr) {
        return false;
    }
    giveBack(For::kCall, std::move(channel));
    return true;
}

void OutChannels::shutDown() {
    Mutex::Autolock lock(mLock);
    shutDownAll();
}

void OutChannels::shutDownAll() {
    for (Channel* channel : mAll) {
        channel->shutDown();
    }
}

void OutChannels::close() {
    Mutex::Autolock lock(mLock);
    mClosed = true;
    shutDownAll();
    for (const For what : {For::kCall, For::kOneway}) {
        for (const auto& channel : idle(what)) {
            drop(what, *channel);
        }
        idle(what).clear();
    }
    mReturned.broadcast();
}

}  // namespace android::hardware::socket
