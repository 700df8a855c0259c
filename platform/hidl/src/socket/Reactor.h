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
#include <unordered_map>
#include <vector>

#include <sys/epoll.h>

#include <android-base/unique_fd.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>

namespace android {
namespace hardware {
namespace socket {

// What waits on a socket.
class ReactorItem {
public:
    virtual ~ReactorItem() = default;
    // Something has come, or the peer has gone. False when there was nothing after all.
    virtual bool ready() = 0;
};

// When the pool's threads are told of what comes on a socket.
enum class Notice {
    // Once, and then not until it is armed again: one thread at a time has the item to itself.
    kOnce,
    // Of each arrival, also while a thread is in ready(), which spares it to arm the item again.
    kEach,
};

// The process's thread pool: threads that wait on all sockets at once. The thread that is woken is
// the one that reads and serves. Every operation may be called from any thread.
class Reactor {
public:
    static Reactor& instance();

    // Keeps an item until its removal, and through a ready() under way; the token names it.
    uint64_t add(std::shared_ptr<ReactorItem> item);
    // Begins to wait on the item's socket. False when the kernel refuses; logged.
    bool arm(uint64_t token, int socket, Notice notice);
    // Waits again after kOnce, or asks after kEach to be told also of what is there already.
    void rearm(uint64_t token, int socket, Notice notice);
    // Tells of nothing but the peer's end until the item is armed again.
    void disarm(uint64_t token, int socket);
    // Must come before the socket is closed.
    void remove(uint64_t token, int socket);

    void configure(size_t maxThreads, bool callerJoins);
    // The same for a process one thread of which calls serveOne() by itself, from now on for good.
    // Returns what is readable while there is an event to serve, or -1 when there are threads or
    // sockets already.
    int configurePolling();
    size_t maxThreads();
    // Starts the first thread of the pool, if it has any of its own.
    void start();
    // Serves on the calling thread until the pool is stopped.
    void join();
    // Waits for one event and serves it on the calling thread. False once the pool is stopped.
    bool serveOne();
    // Whether a thread waits for whatever comes, so that the calling one may do something else.
    bool othersWait() const { return mWaiting > 0 && !mStopping; }
    // Makes join() and serveOne() return. Safe in a signal handler.
    void requestStop();
    // Takes no more events and waits for those under way; false when that takes longer.
    bool quiesce(std::chrono::milliseconds patience);
    // The same with all patience, and joins the threads; the pool can be started again afterwards.
    void stop();

    size_t threadCount();

private:
    Reactor();

    epoll_event eventsOf(uint64_t token, Notice notice) const;
    std::shared_ptr<ReactorItem> find(uint64_t token);
    bool serveLast();
    void run();
    void loop();
    void growIfBusy();

    // Read without a lock: fixed once the reactor exists.
    base::unique_fd mEpoll;
    base::unique_fd mWakeUp;

    // Counts rearmings, so that what a thread did with an item comes before what the next does with
    // it in the language's sense, too; the kernel has it in order anyway.
    std::atomic<size_t> mHandOvers{0};
    std::atomic<bool> mStopping{false};
    std::atomic<bool> mPolled{false};
    std::atomic<int> mWaiting{0};

    // Of the one thread that polls.
    uint64_t mLastServed = 0;
    int mServedInARow = 0;  // without asking the kernel
    int mPause = 0;

    Mutex mItemsLock;
    uint64_t mNextToken GUARDED_BY(mItemsLock) = 1;
    std::unordered_map<uint64_t, std::shared_ptr<ReactorItem>> mItems GUARDED_BY(mItemsLock);

    Mutex mPoolLock;
    Condition mThreadLeft;
    size_t mMaxThreads GUARDED_BY(mPoolLock) = 1;
    bool mCallerJoins GUARDED_BY(mPoolLock) = false;
    bool mStarted GUARDED_BY(mPoolLock) = false;
    size_t mRunning GUARDED_BY(mPoolLock) = 0;  // Threads in loop(), joined ones included.
    std::vector<std::thread> mThreads GUARDED_BY(mPoolLock);
};

}  // namespace socket
}  // namespace hardware
}  // namespace android
