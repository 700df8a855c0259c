/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "OutChannels.h"

#include <algorithm>
#include <utility>

#include "Peer.h"

namespace android::hardware::socket {

std::unique_ptr<Channel> OutChannels::acquire(bool* fresh, bool atOnce) {
    for (bool mayOpen = true;; mayOpen = false) {
        {
            Mutex::Autolock lock(mLock);
            const size_t most = mPeer.mostCallsTo();
            while (!atOnce && !mClosed && mIdle.empty() &&
                   (mayOpen ? mAll.size() + mOpening >= most : !mAll.empty())) {
                mReturned.wait(mLock);
            }
            if (mClosed || (mIdle.empty() && !mayOpen)) {
                return nullptr;
            }
            if (!mIdle.empty()) {
                std::unique_ptr<Channel> channel = std::move(mIdle.back());
                mIdle.pop_back();
                *fresh = false;
                return channel;
            }
            ++mOpening;
        }
        std::unique_ptr<Channel> channel = open(atOnce);
        if (channel != nullptr) {
            *fresh = true;
            return channel;
        }
    }
}

// Without the lock, since it sends; what counts it as being opened was done by the caller.
std::unique_ptr<Channel> OutChannels::open(bool atOnce) {
    std::unique_ptr<Channel> channel = mPeer.openChannel(atOnce);
    Mutex::Autolock lock(mLock);
    --mOpening;
    mReturned.broadcast();
    if (channel != nullptr && !mClosed) {
        mAll.push_back(channel.get());
        return channel;
    }
    return nullptr;
}

void OutChannels::drop(Channel& channel) {
    const auto it = std::find(mAll.begin(), mAll.end(), &channel);
    if (it != mAll.end()) {
        mAll.erase(it);
    }
}

void OutChannels::giveBack(std::unique_ptr<Channel> channel) {
    Mutex::Autolock lock(mLock);
    if (!mClosed && channel->usable()) {
        mIdle.push_back(std::move(channel));
    } else {
        drop(*channel);
    }
    mReturned.signal();
}

bool OutChannels::ensureOne() {
    {
        Mutex::Autolock lock(mLock);
        if (mClosed || !mAll.empty()) {
            return !mClosed;
        }
        ++mOpening;
    }
    std::unique_ptr<Channel> channel = open(false);
    if (channel == nullptr) {
        return false;
    }
    giveBack(std::move(channel));
    return true;
}

status_t OutChannels::transactOneway(uint64_t target, uint32_t code, const Parcel& data,
                                     uint32_t flags) {
    Mutex::Autolock sending(mOnewayLock);
    for (bool again = true;; again = false) {
        const bool fresh = mOneway == nullptr;
        if (fresh) {
            {
                Mutex::Autolock lock(mLock);
                ++mOpening;
            }
            mOneway = open(false);
            if (mOneway == nullptr) {
                return mPeer.couldNotCall();
            }
            Mutex::Autolock lock(mLock);
            drop(*mOneway);
            mOnewayOpen = mOneway.get();
        }
        const status_t status = mOneway->transact(target, code, data, nullptr, flags);
        if (mOneway->usable()) {
            return status;
        }
        const bool retry = mOneway->wasClosed() && !fresh && again;
        {
            Mutex::Autolock lock(mLock);
            mOnewayOpen = nullptr;
        }
        mOneway.reset();
        if (!retry) {
            return DEAD_OBJECT;
        }
    }
}

void OutChannels::shutDown() {
    Mutex::Autolock lock(mLock);
    shutDownLocked();
}

void OutChannels::shutDownLocked() {
    for (Channel* channel : mAll) {
        channel->shutDown();
    }
    if (mOnewayOpen != nullptr) {
        mOnewayOpen->shutDown();
    }
}

void OutChannels::close() {
    std::vector<std::unique_ptr<Channel>> idle;  // Closed after the lock.
    Mutex::Autolock lock(mLock);
    mClosed = true;
    shutDownLocked();
    for (const auto& channel : mIdle) {
        drop(*channel);
    }
    idle.swap(mIdle);
    mReturned.broadcast();
}

}  // namespace android::hardware::socket
