/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <thread>

#include <utils/Condition.h>
#include <utils/Mutex.h>

namespace android::hardware::details {

/**
 * Runs tasks one after another on a thread of its own, which starts with the first task. Ending it
 * runs what is queued and joins the thread, so a task must not hold the last reference to it.
 */
class TaskRunner {
public:
    using Task = std::function<void()>;

    TaskRunner() = default;
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;
    ~TaskRunner();

    /** From now on at most `limit` tasks wait at a time. */
    void start(size_t limit);

    /** False, and the task is dropped, before start and when the queue is full. */
    bool push(Task task);

private:
    void run();

    Mutex mLock;
    Condition mChanged;
    size_t mLimit GUARDED_BY(mLock) = 0;
    bool mEnding GUARDED_BY(mLock) = false;
    std::deque<Task> mTasks GUARDED_BY(mLock);
    std::thread mThread GUARDED_BY(mLock);
};

}  // namespace android::hardware::details
