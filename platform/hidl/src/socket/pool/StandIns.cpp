/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "StandIns.h"

#include <utility>

namespace android::hardware::socket {

namespace {

// How often it looks, and how long the pool must have had threads for all that came before it
// sleeps again: so seldom that waking it up costs the calls nothing.
constexpr nsecs_t kLook = 5 * 1000 * 1000;
constexpr int kCalmLooks = 200;

}  // namespace

StandIns::StandIns(Pool pool) : mPool(std::move(pool)), mThread([this] { run(); }) {}

StandIns::~StandIns() {
    {
        Mutex::Autolock lock(mLock);
        mEnding = true;
        mChanged.signal();
    }
    mThread.join();
}

void StandIns::allBusy() {
    if (!mAwake && !mAwake.exchange(true)) {
        Mutex::Autolock lock(mLock);
        mChanged.signal();
    }
}

void StandIns::run() {
    Mutex::Autolock lock(mLock);
    while (!mEnding) {
        if (!mAwake) {
            mChanged.wait(mLock);
            continue;
        }
        int calm = 0;
        for (uint64_t before = mPool.taken(); calm < kCalmLooks && !mEnding;) {
            mChanged.waitRelative(mLock, kLook);
            const uint64_t taken = mPool.taken();
            const bool busy = mPool.allBusy();
            calm = busy ? 0 : calm + 1;
            if (busy && taken == before && mPool.eventsWait()) {
                mPool.standIn();
            }
            before = taken;
        }
        mAwake = false;
        // Whoever became busy while it was awake did not wake it. Whoever has done so since keeps
        // it awake: that must not be overwritten.
        if (mPool.allBusy()) {
            mAwake = true;
        }
    }
}

}  // namespace android::hardware::socket
