/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/ThreadPool.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "base/Log.h"

namespace orva::reference {

namespace {

using Clock = std::chrono::steady_clock;

// How long tasks wait without one being taken before a thread is added.
constexpr std::chrono::milliseconds kStallTime{10};
// How long a thread beyond the usual number stays without a task.
constexpr std::chrono::milliseconds kSurplusTime{500};

}  // namespace

ThreadPool::ThreadPool(size_t count, size_t most)
        : count_(std::max<size_t>(count, 1)), most_(std::max(count_, most)) {}

ThreadPool::~ThreadPool() {
    while (!Shutdown(std::chrono::hours(1))) {
    }
}

bool ThreadPool::Post(Task task) {
    MutexLock lock(mutex_);
    if (stopping_) {
        return false;
    }
    tasks_.push_back(std::move(task));
    if (tasks_.size() <= idle_) {
        // Woken only after the lock is free, or the worker would run straight into it.
        lock.Unlock();
        work_.NotifyOne();
        return true;
    }
    if (workers_.size() >= count_) {
        WatchForStalls();
    } else if (!StartWorker() && workers_.empty()) {
        tasks_.pop_back();
        return false;
    }
    return true;
}

void ThreadPool::SetThreads(size_t count, size_t most) {
    MutexLock lock(mutex_);
    count_ = std::max<size_t>(count, 1);
    most_ = std::max(count_, most);
    work_.NotifyAll();
}

size_t ThreadPool::Threads() const {
    MutexLock lock(mutex_);
    return workers_.size();
}

bool ThreadPool::Shutdown(std::chrono::nanoseconds patience) {
    const Clock::time_point deadline = Clock::now() + patience;
    std::thread watcher;
    {
        MutexLock lock(mutex_);
        stopping_ = true;
        work_.NotifyAll();
        while (!workers_.empty()) {
            if (!ended_.WaitUntil(mutex_, deadline) && !workers_.empty()) {
                return false;
            }
        }
        JoinFinished();
        stalled_.NotifyOne();
        watcher.swap(watcher_);
    }
    if (watcher.joinable()) {
        watcher.join();
    }
    return true;
}

void ThreadPool::JoinFinished() {
    // They have let go of the lock for good, so this waits for nothing but their last return.
    for (std::thread& thread : finished_) {
        thread.join();
    }
    finished_.clear();
}

bool ThreadPool::StartWorker() {
    JoinFinished();
    const auto self = workers_.emplace(workers_.end());
    try {
        *self = std::thread(&ThreadPool::Work, this, self);
    } catch (const std::system_error& error) {
        ORVA_LOGE("cannot start a thread: %s", error.what());
        workers_.erase(self);
        return false;
    }
    return true;
}

void ThreadPool::Work(std::list<std::thread>::iterator self) {
    MutexLock lock(mutex_);
    while (AwaitTask()) {
        {
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            ++taken_;
            lock.Unlock();
            task();
        }
        lock.Lock();
    }
    finished_.splice(finished_.end(), workers_, self);
    ended_.NotifyAll();
}

bool ThreadPool::AwaitTask() {
    while (tasks_.empty()) {
        if (stopping_) {
            return false;
        }
        bool inTime = true;
        ++idle_;
        if (workers_.size() > count_) {
            inTime = work_.WaitUntil(mutex_, Clock::now() + kSurplusTime);
        } else {
            work_.Wait(mutex_);
        }
        --idle_;
        if (!inTime && tasks_.empty() && workers_.size() > count_) {
            return false;
        }
    }
    return true;
}

bool ThreadPool::WantsStandIn() const {
    return tasks_.size() > idle_ && workers_.size() < most_ &&
           workers_.size() < count_ + blocked_.load();
}

void ThreadPool::WatchForStalls() {
    if (watching_) {
        return;
    }
    if (!watcher_.joinable()) {
        try {
            watcher_ = std::thread(&ThreadPool::Watch, this);
        } catch (const std::system_error& error) {
            ORVA_LOGE("cannot start a thread: %s", error.what());
            return;
        }
    }
    watching_ = true;
    stalled_.NotifyOne();
}

void ThreadPool::Watch() {
    MutexLock lock(mutex_);
    // Outlives the wish to stop: the tasks that are left may need threads too.
    while (!stopping_ || !workers_.empty()) {
        if (!watching_) {
            stalled_.Wait(mutex_);
            continue;
        }
        const uint64_t taken = taken_;
        while (stalled_.WaitUntil(mutex_, Clock::now() + kStallTime) && taken == taken_ &&
               !workers_.empty()) {
        }
        if (taken == taken_ && WantsStandIn()) {
            StartWorker();
        }
        watching_ = tasks_.size() > idle_;
    }
}

}  // namespace orva::reference
