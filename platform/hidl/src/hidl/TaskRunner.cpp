/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/TaskRunner.h>

#include <utility>

namespace android::hardware::details {

TaskRunner::~TaskRunner() {
    std::thread thread;
    {
        Mutex::Autolock lock(mLock);
        mEnding = true;
        thread = std::move(mThread);
    }
    mChanged.signal();
    if (thread.joinable())
        thread.join();
}

void TaskRunner::start(size_t limit) {
    Mutex::Autolock lock(mLock);
    mLimit = limit;
}

bool TaskRunner::push(Task task) {
    Mutex::Autolock lock(mLock);
    if (mTasks.size() >= mLimit)
        return false;
    mTasks.push_back(std::move(task));
    if (!mThread.joinable())
        mThread = std::thread([this] { run(); });
    mChanged.signal();
    return true;
}

void TaskRunner::run() {
    for (;;) {
        Task task;
        {
            Mutex::Autolock lock(mLock);
            while (mTasks.empty() && !mEnding)
                mChanged.wait(mLock);
            if (mTasks.empty())
                return;
            task = std::move(mTasks.front());
            mTasks.pop_front();
        }
        task();
    }
}

}  // namespace android::hardware::details
