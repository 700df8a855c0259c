/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include <utils/Condition.h>
#include <utils/Mutex.h>

#include "TaskQueue.h"

namespace android::hardware::socket {

// The process's thread pool: threads that all wait at the poller. The thread that is woken is the
// one that reads and serves. Every operation may be called from any thread.
class Pool {
public:
    static Pool& instance();

    // At most so many threads, of which a caller that will join brings one when it does.
    void configure(size_t maxThreads, bool callerJoins);
    // How many threads more may stand in for blocked ones; when these are blocked, too, what is
    // urgent is done all the same. Counts from the pool's next start.
    void setStandIns(size_t most);
    // For a process one thread of which calls serveOne() by itself, from now on for good. Returns
    // what is readable while there is an event to serve, or -1 when there are threads or sockets
    // already.
    int configurePolling();
    size_t maxThreads();
    // Starts the first thread of the pool, if it has any.
    void start();
    // Has the pool one thread more; the calling one only waits for the stop, so that it hears of it
    // whatever the others do.
    void join();
    // Waits for one event and serves it on the calling thread. False once the pool is stopped.
    bool serveOne() {
        serve(-1);
        return !mStopping;
    }
    // Makes join() and serveOne() return. Safe in a signal handler.
    void requestStop();
    // Takes no more events and waits for those under way; false when that takes longer.
    bool quiesce(std::chrono::milliseconds patience);
    // Joins the threads, all of which quiesce() has seen leave. The pool can be started again.
    void finish();

    // Does a task on one of the threads, when there is one.
    void post(TaskQueue::Task task) { mTasks->post(std::move(task)); }

    size_t threadCount();

private:
    Pool();

    bool serve(int timeout);
    void growIfBusy();
    void lookAfterBlocked();
    void serveUrgent();
    void resumeAside();
    void add(int idleMs) REQUIRES(mLock);
    void run(int idleMs);
    size_t size() const REQUIRES(mLock);

    const std::shared_ptr<TaskQueue> mTasks;
    std::atomic<bool> mStopping{false};
    std::atomic<int> mWaiting{0};
    std::atomic<uint64_t> mTaken{0};
    std::atomic<bool> mHasAside{false};

    Mutex mLock;
    Condition mThreadLeft;
    size_t mMaxThreads GUARDED_BY(mLock) = 1;
    size_t mMostStandIns GUARDED_BY(mLock) = 0;
    bool mCallerJoins GUARDED_BY(mLock) = false;
    bool mStarted GUARDED_BY(mLock) = false;
    size_t mJoined GUARDED_BY(mLock) = 0;
    size_t mRunning GUARDED_BY(mLock) = 0;
    std::vector<std::thread> mThreads GUARDED_BY(mLock);
    std::thread mLeft GUARDED_BY(mLock);  // A stand-in, to be joined by the next that leaves.

    // Looks after the others while all of them are busy.
    bool mIsWatched GUARDED_BY(mLock) = false;
    std::thread mWatch;
    Condition mWatchChanged;
    bool mWatches GUARDED_BY(mLock) = false;  // Or sleeps.
    // What is not urgent, until a thread is free.
    std::vector<std::shared_ptr<PollItem>> mAside GUARDED_BY(mLock);
};

}  // namespace android::hardware::socket
