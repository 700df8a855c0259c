/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>

#include <utils/Condition.h>
#include <utils/Mutex.h>

namespace android::hardware::socket {

// Looks after a pool whose threads all are busy: a thread of its own, which sleeps while there is
// nothing to look after. When events wait and none was taken up since it looked last, it has a
// thread stand in for those that are blocked.
class StandIns {
public:
    struct Pool {
        std::function<uint64_t()> taken;  // How many events were taken up so far.
        std::function<bool()> allBusy;    // Whether no thread waits for one.
        std::function<bool()> eventsWait;
        std::function<void()> standIn;  // Starts one more thread, within its bound.
    };

    explicit StandIns(Pool pool);
    // Joins its thread.
    ~StandIns();
    StandIns(const StandIns&) = delete;
    StandIns& operator=(const StandIns&) = delete;

    // The pool's last free thread has found something to do.
    void allBusy();

private:
    void run();

    const Pool mPool;
    std::atomic<bool> mAwake{false};
    Mutex mLock;
    Condition mChanged;
    bool mEnding GUARDED_BY(mLock) = false;
    std::thread mThread;
};

}  // namespace android::hardware::socket
