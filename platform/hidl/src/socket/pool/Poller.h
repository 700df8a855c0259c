/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>

#include <sys/epoll.h>

#include <android-base/unique_fd.h>
#include <utils/Mutex.h>

namespace android::hardware::socket {

// What waits on a descriptor: idle until it is watched, then watched until something comes. From
// then on the one thread that is told has it to itself, until it is watched again.
class PollItem : public std::enable_shared_from_this<PollItem> {
public:
    virtual ~PollItem() = default;

    // Something has come, or the other end has gone; there may be nothing after all.
    virtual void ready() = 0;
    // Whether that is to be done though all threads are busy: it is short, and others may rely on
    // it.
    virtual bool isUrgent() { return true; }

protected:
    // Begins to wait. False when the kernel refuses; logged.
    bool watch(int descriptor);
    // Waits on.
    void watchAgain();
    // Waits no longer; a ready() under way goes on. Must come before the descriptor is closed.
    void unwatch();

private:
    friend class Poller;

    std::atomic<uint64_t> mToken{0};
    int mDescriptor = -1;
};

// All that the process waits on at once. Every operation may be called from any thread.
class Poller {
public:
    Poller();

    static Poller& instance();

    // Waits for an item to be served, at most so many milliseconds if that is not negative: null
    // when there is none, and at once after wakeAll().
    std::shared_ptr<PollItem> wait(int timeout);
    // Has an item that was taken wait again, served or not.
    void rearm(const PollItem& item);
    // Whether something waits to be taken.
    bool hasSome() const;

    // From here on nobody waits, until calmDown(). Safe in a signal handler.
    void wakeAll();
    void calmDown();
    // Waits for wakeAll().
    void waitForWake() const;

    // For a process of which one thread waits: what is readable while there is an item, or -1 when
    // something is watched already.
    int serveOneThread();
    bool oneThread() const { return mOneThread; }

private:
    friend class PollItem;

    uint32_t events() const;
    bool add(const std::shared_ptr<PollItem>& item, int descriptor);
    void remove(const PollItem& item);

    const base::unique_fd mEpoll;
    const base::unique_fd mWakeUp;
    std::atomic<bool> mOneThread{false};

    // Counts what is watched again, so that what a thread did with an item comes before what the
    // next does with it in the language's sense, too; the kernel has it in order anyway.
    std::atomic<size_t> mHandOvers{0};

    Mutex mLock;
    uint64_t mNextToken GUARDED_BY(mLock) = 1;
    std::unordered_map<uint64_t, std::shared_ptr<PollItem>> mItems GUARDED_BY(mLock);
};

}  // namespace android::hardware::socket
