/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Pool.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include <log/log.h>

#include "Poller.h"

namespace android::hardware::socket {

namespace {

// How long a thread above the pool's size waits for something to do before it leaves.
constexpr int kSpareMs = 200;

// How often is looked whether calls wait while all threads are busy, and for how many looks the
// pool must have had threads for all that came until it is no longer looked: so seldom that waking
// the one who looks costs the calls nothing.
constexpr nsecs_t kLook = 5 * 1000 * 1000;
constexpr int kCalmLooks = 200;

}  // namespace

// Never destroyed: threads of the pool may outlive the program's static objects.
Pool& Pool::instance() {
    static Pool* const pool = new Pool;
    return *pool;
}

Pool::Pool() : mTasks(std::make_shared<TaskQueue>()) {
    Poller::instance();
}

size_t Pool::size() const {
    return mMaxThreads + mJoined - (mCallerJoins ? 1 : 0);
}

Pool::Next Pool::serve() {
    const int timeout = mHasSpare ? kSpareMs : -1;
    ++mWaiting;
    const auto item = Poller::instance().wait(timeout);
    const bool lastToWait = --mWaiting == 0;
    if (item != nullptr) {
        mTaken.fetch_add(1, std::memory_order_relaxed);
        if (lastToWait && !Poller::instance().oneThread()) {
            growIfBusy();
        }
        item->ready();
    } else if (timeout >= 0 && leaveIfSpare()) {
        return Next::kLeft;
    }
    return mStopping ? Next::kStop : Next::kGoOn;
}

// The calling thread, which was the last one free, has found something to do.
void Pool::growIfBusy() {
    Mutex::Autolock lock(mLock);
    if (mStarted && !mStopping && mRunning < size()) {
        add();
    } else if (mWatch.joinable() && !std::exchange(mWatches, true)) {
        mWatchChanged.signal();
    }
}

// When events wait and none was taken up since the last look, one more thread stands in for those
// that are blocked, within the bound.
void Pool::lookAfterBlocked() {
    Mutex::Autolock lock(mLock);
    uint64_t before = 0;
    for (int calm = 0; mStarted;) {
        if (!mWatches) {
            mWatchChanged.wait(mLock);
            calm = 0;
            before = mTaken;
            continue;
        }
        mWatchChanged.waitRelative(mLock, kLook);
        const bool busy = mWaiting == 0;
        if (busy && mTaken == before && !mStopping && mRunning < size() + mMostStandIns &&
            Poller::instance().hasSome()) {
            add();
            mHasSpare = mRunning > size();
        }
        before = mTaken;
        calm = busy ? 0 : calm + 1;
        mWatches = calm < kCalmLooks;
    }
}

void Pool::add() {
    try {
        mThreads.emplace_back([this] { run(); });
        ++mRunning;
    } catch (const std::system_error& error) {
        ALOGE("the pool stays at %zu threads: %s", mRunning, error.what());
    }
}

void Pool::run() {
    Next next = mStopping ? Next::kStop : Next::kGoOn;
    while (next == Next::kGoOn) {
        next = serve();
    }
    if (next == Next::kLeft) {
        return;
    }
    Mutex::Autolock lock(mLock);
    --mRunning;
    mThreadLeft.broadcast();
}

// Whether the calling thread, which has nothing to do, is one too many. It is joined by the next
// one that leaves, or at the end.
bool Pool::leaveIfSpare() {
    std::vector<std::thread> left;
    {
        Mutex::Autolock lock(mLock);
        if (mStopping || mRunning <= size()) {
            return false;
        }
        --mRunning;
        mHasSpare = mRunning > size();
        mThreadLeft.broadcast();
        left.swap(mLeft);
        const auto self = std::find_if(mThreads.begin(), mThreads.end(), [](const auto& thread) {
            return thread.get_id() == std::this_thread::get_id();
        });
        mLeft.push_back(std::move(*self));
        mThreads.erase(self);
    }
    for (std::thread& thread : left) {
        thread.join();
    }
    return true;
}

void Pool::configure(size_t maxThreads, bool callerJoins) {
    Mutex::Autolock lock(mLock);
    mMaxThreads = maxThreads;
    mCallerJoins = callerJoins;
}

void Pool::setStandIns(size_t most) {
    Mutex::Autolock lock(mLock);
    mMostStandIns = most;
}

int Pool::configurePolling() {
    Mutex::Autolock lock(mLock);
    if (mRunning > 0 || mJoined > 0) {
        return -1;
    }
    const int polled = Poller::instance().serveOneThread();
    if (polled >= 0) {
        mMaxThreads = 1;
        mCallerJoins = true;
        mMostStandIns = 0;
    }
    return polled;
}

size_t Pool::maxThreads() {
    Mutex::Autolock lock(mLock);
    return mMaxThreads;
}

size_t Pool::threadCount() {
    Mutex::Autolock lock(mLock);
    return mRunning;
}

void Pool::start() {
    Mutex::Autolock lock(mLock);
    if (std::exchange(mStarted, true)) {
        return;
    }
    if (mMostStandIns > 0) {
        mWatch = std::thread([this] { lookAfterBlocked(); });
    }
    if (mRunning < size()) {
        add();
    }
}

void Pool::join() {
    {
        Mutex::Autolock lock(mLock);
        ++mJoined;
    }
    start();
    {
        Mutex::Autolock lock(mLock);
        if (mRunning == 0 && !mStopping) {
            add();
        }
    }
    if (!mStopping) {
        Poller::instance().waitForWake();
    }
    Mutex::Autolock lock(mLock);
    --mJoined;
    mThreadLeft.broadcast();
}

void Pool::requestStop() {
    mStopping = true;
    Poller::instance().wakeAll();
}

bool Pool::quiesce(std::chrono::milliseconds patience) {
    requestStop();
    const auto start = std::chrono::steady_clock::now();
    Mutex::Autolock lock(mLock);
    while (mRunning > 0 || mJoined > 0) {
        const auto left = patience - std::chrono::duration_cast<std::chrono::milliseconds>(
                                             std::chrono::steady_clock::now() - start);
        if (left.count() <= 0) {
            return false;
        }
        // In parts, since a patience may be too long to be counted in nanoseconds.
        mThreadLeft.waitRelative(mLock, ms2ns(std::min<int64_t>(left.count(), 1000)));
    }
    return true;
}

void Pool::finish() {
    std::vector<std::thread> threads;
    {
        Mutex::Autolock lock(mLock);
        threads.swap(mThreads);
        for (std::thread& thread : mLeft) {
            threads.push_back(std::move(thread));
        }
        mLeft.clear();
        if (mWatch.joinable()) {
            threads.push_back(std::move(mWatch));
        }
        mStarted = false;
        mWatches = false;
        mWatchChanged.signal();
        mHasSpare = false;
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    mTasks->clear();
    Poller::instance().calmDown();
    mStopping = false;
}

}  // namespace android::hardware::socket
