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

// How long a stand-in waits for something to do before it leaves; the pool's own threads stay.
constexpr int kIdleMs = 200;
constexpr int kForEver = -1;

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

bool Pool::serve(int timeout) {
    ++mWaiting;
    if (mHasAside) {
        resumeAside();
    }
    const auto item = Poller::instance().wait(timeout);
    const bool lastToWait = --mWaiting == 0;
    if (item == nullptr) {
        return false;
    }
    mTaken.fetch_add(1, std::memory_order_relaxed);
    if (lastToWait && !Poller::instance().oneThread()) {
        growIfBusy();
    }
    item->ready();
    return true;
}

// The calling thread, which was the last one free, has found something to do.
void Pool::growIfBusy() {
    Mutex::Autolock lock(mLock);
    if (mStarted && !mStopping && mRunning < size()) {
        add(kForEver);
    } else if (mWatch.joinable() && !std::exchange(mWatches, true)) {
        mWatchChanged.signal();
    }
}

// When events wait and none was taken up since the last look, one more thread stands in for those
// that are blocked, within the bound; beyond it, this one does what is urgent.
void Pool::lookAfterBlocked() {
    uint64_t before = 0;
    for (int calm = 0;;) {
        {
            Mutex::Autolock lock(mLock);
            while (mStarted && !mWatches) {
                mWatchChanged.wait(mLock);
                calm = 0;
                before = mTaken;
            }
            if (!mStarted) {
                return;
            }
            mWatchChanged.waitRelative(mLock, kLook);
            const bool blocked = mWaiting == 0 && mTaken == before && !mStopping;
            before = mTaken;
            calm = mWaiting == 0 ? 0 : calm + 1;
            mWatches = calm < kCalmLooks;
            if (!blocked || !Poller::instance().hasSome()) {
                continue;
            }
            if (mRunning < size() + mMostStandIns) {
                add(kIdleMs);
                continue;
            }
        }
        serveUrgent();
    }
}

void Pool::serveUrgent() {
    while (mWaiting == 0) {
        const auto item = Poller::instance().wait(0);
        if (item == nullptr) {
            return;
        }
        if (item->isUrgent()) {
            item->ready();
        } else {
            Mutex::Autolock lock(mLock);
            mAside.push_back(item);
            mHasAside = true;
        }
    }
    resumeAside();
}

void Pool::resumeAside() {
    std::vector<std::shared_ptr<PollItem>> aside;
    {
        Mutex::Autolock lock(mLock);
        aside.swap(mAside);
        mHasAside = false;
    }
    for (const auto& item : aside) {
        Poller::instance().rearm(*item);
    }
}

void Pool::add(int idleMs) {
    try {
        mThreads.emplace_back([this, idleMs] { run(idleMs); });
        ++mRunning;
    } catch (const std::system_error& error) {
        ALOGE("the pool stays at %zu threads: %s", mRunning, error.what());
    }
}

void Pool::run(int idleMs) {
    bool busy = true;
    while (!mStopping && (busy || idleMs == kForEver)) {
        busy = serve(idleMs);
    }
    std::thread before;
    {
        Mutex::Autolock lock(mLock);
        --mRunning;
        mThreadLeft.broadcast();
        if (mStopping) {
            return;  // Joined with all others.
        }
        const auto self = std::find_if(mThreads.begin(), mThreads.end(), [](const auto& thread) {
            return thread.get_id() == std::this_thread::get_id();
        });
        before = std::exchange(mLeft, std::move(*self));
        mThreads.erase(self);
    }
    if (before.joinable()) {
        before.join();
    }
}

void Pool::configure(size_t maxThreads, bool callerJoins) {
    Mutex::Autolock lock(mLock);
    mMaxThreads = maxThreads;
    mCallerJoins = callerJoins;
}

void Pool::setStandIns(size_t most) {
    Mutex::Autolock lock(mLock);
    mIsWatched = true;
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
        mIsWatched = false;
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
    if (mIsWatched) {
        mWatch = std::thread([this] { lookAfterBlocked(); });
    }
    if (mRunning < size()) {
        add(kForEver);
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
            add(kForEver);
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
        threads.push_back(std::move(mLeft));
        threads.push_back(std::move(mWatch));
        mStarted = false;
        mWatches = false;
        mWatchChanged.signal();
    }
    for (std::thread& thread : threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
    mTasks->clear();
    resumeAside();
    Poller::instance().calmDown();
    mStopping = false;
}

}  // namespace android::hardware::socket
