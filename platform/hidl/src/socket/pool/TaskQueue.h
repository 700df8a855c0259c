/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <deque>
#include <functional>

#include <android-base/unique_fd.h>
#include <utils/Mutex.h>

#include "Poller.h"

namespace android::hardware::socket {

// Work for the pool's threads that no peer waits for, begun in its order. A few threads at most are
// at it at once, so that work that waits for a lock leaves the others to the calls.
class TaskQueue : public PollItem {
public:
    using Task = std::function<void()>;

    TaskQueue();

    void post(Task task);
    // Drops what has not begun.
    void clear();
    void ready() override;

private:
    const base::unique_fd mReady;  // Readable while there is a task that may begin.
    Mutex mLock;
    std::deque<Task> mTasks GUARDED_BY(mLock);
    size_t mUnderWay GUARDED_BY(mLock) = 0;
    bool mWatched GUARDED_BY(mLock) = false;
};

}  // namespace android::hardware::socket
