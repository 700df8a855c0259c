/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ServingTurns.h"

#include <algorithm>
#include <utility>

namespace android::hardware::socket {

bool ServingTurns::begin(const std::shared_ptr<Waiting>& waiting, size_t limit) {
    Mutex::Autolock lock(mLock);
    if (waiting->mState == Waiting::State::kCalled) {
        waiting->mState = Waiting::State::kOutside;
        return true;
    }
    if (mServed < limit) {
        ++mServed;
        return true;
    }
    waiting->mState = Waiting::State::kWaits;
    mWaiting.push_back(waiting);
    return false;
}

void ServingTurns::end() {
    std::shared_ptr<Waiting> next;
    {
        Mutex::Autolock lock(mLock);
        if (mWaiting.empty()) {
            --mServed;
            return;
        }
        next = std::move(mWaiting.front());
        mWaiting.pop_front();
        next->mState = Waiting::State::kCalled;
    }
    next->turnHasCome();
}

bool ServingTurns::anyServed() {
    Mutex::Autolock lock(mLock);
    return mServed > 0;
}

void ServingTurns::forget(Waiting& waiting) {
    std::shared_ptr<Waiting> gone;  // Released after the lock.
    {
        Mutex::Autolock lock(mLock);
        const auto before = std::exchange(waiting.mState, Waiting::State::kOutside);
        if (before == Waiting::State::kWaits) {
            const auto it = std::find_if(mWaiting.begin(), mWaiting.end(),
                                         [&](const auto& each) { return each.get() == &waiting; });
            gone = std::move(*it);
            mWaiting.erase(it);
        }
        if (before != Waiting::State::kCalled) {
            return;
        }
    }
    end();
}

}  // namespace android::hardware::socket
