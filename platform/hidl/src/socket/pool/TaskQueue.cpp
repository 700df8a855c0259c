/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "TaskQueue.h"

#include <utility>

#include <sys/eventfd.h>

#include <log/log.h>

namespace android::hardware::socket {

namespace {

constexpr size_t kMostAtOnce = 4;

}  // namespace

TaskQueue::TaskQueue() : mReady(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE)) {
    LOG_ALWAYS_FATAL_IF(mReady < 0, "no descriptors left to start the HIDL runtime with");
}

void TaskQueue::post(Task task) {
    bool begin;
    {
        Mutex::Autolock lock(mLock);
        mTasks.push_back(std::move(task));
        begin = !std::exchange(mWatched, true);
    }
    eventfd_write(mReady, 1);
    if (begin) {
        watch(mReady);
    }
}

void TaskQueue::clear() {
    std::deque<Task> dropped;  // Released after the lock.
    {
        Mutex::Autolock lock(mLock);
        dropped.swap(mTasks);
        for (eventfd_t one; eventfd_read(mReady, &one) == 0;) {
        }
        if (!std::exchange(mWatched, false)) {
            return;
        }
    }
    unwatch();
}

void TaskQueue::ready() {
    Task task;
    bool mayMore;
    {
        Mutex::Autolock lock(mLock);
        eventfd_t one;
        if (mTasks.empty() || eventfd_read(mReady, &one) != 0) {
            watchAgain();
            return;
        }
        task = std::move(mTasks.front());
        mTasks.pop_front();
        mayMore = ++mUnderWay < kMostAtOnce;
    }
    if (mayMore) {
        watchAgain();
    }
    task();
    task = nullptr;
    Mutex::Autolock lock(mLock);
    --mUnderWay;
    if (!mayMore) {
        watchAgain();
    }
}

}  // namespace android::hardware::socket
