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

// How long tasks wait without one being taken before a thread is added.
constexpr std::chrono::milliseconds kStallTime{10};
// How long a thread beyond the usual number stays without a task.
constexpr std::chrono::milliseconds kSurplusTime{500};

}  // namespace

thread_local ThreadPool::Worker* ThreadPool::current = nullptr;

ThreadPool::ThreadPool(size_t count, size_t most)
        : count_(std::max<size_t>(count, 1)), most_(std::max(count_, most)) {}

ThreadPool::~ThreadPool() {
    while (!Shutdown(std::chrono::hours(1))) {
    }
}

bool ThreadPool::PostFor(const void* owner, Task task) {
    MutexLock lock(mutex_);
    if (stopping_) {
        return false;
    }
    if (!idle_.empty() && MayRun(owner)) {
        Worker* const worker = idle_.back();
        idle_.pop_back();
        worker->task = std::move(task);
        Begin(*worker, owner);
        // Woken only after the lock is free, or the worker would run straight into it.
        lock.Unlock();
        worker->wakeUp.Post();
        return true;
    }
    if (workers_.size() < count_ && !StartWorker() && workers_.empty()) {
        return false;
    }
    tasks_.Add(owner, std::move(task));
    if (workers_.size() >= count_) {
        WatchForStalls();
    }
    return true;
}

void ThreadPool::EnterBlocking() {
    current->blocked = true;
}

void ThreadPool::LeaveBlocking() {
    current->blocked = false;
}

void ThreadPool::Begin(Worker& worker, const void* owner) {
    ++taken_;
    worker.runs = true;
    worker.owner = owner;
    worker.since = Clock::now();
}

ThreadPool::Task ThreadPool::TakeTask(Worker& worker) {
    const void* owner = nullptr;
    Task task = tasks_.Take(OwnerMayRun(), &owner);
    if (task != nullptr) {
        Begin(worker, owner);
    }
    return task;
}

// Ends of the process are not put off for the sake of turns.
bool ThreadPool::MayRun(const void* owner) const {
    const auto running = std::count_if(workers_.begin(), workers_.end(), [&](const Worker& worker) {
        return worker.runs && worker.owner == owner && !worker.blocked;
    });
    return stopping_ || owner == nullptr || static_cast<size_t>(running) < count_;
}

void ThreadPool::SetThreads(size_t count, size_t most) {
    MutexLock lock(mutex_);
    count_ = std::max<size_t>(count, 1);
    most_ = std::max(count_, most);
    WakeIdle();
}

void ThreadPool::WakeIdle() {
    for (Worker* worker : idle_) {
        worker->wakeUp.Post();
    }
    idle_.clear();
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
        WakeIdle();
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
    for (Worker& worker : finished_) {
        worker.thread.join();
    }
    finished_.clear();
}

bool ThreadPool::StartWorker() {
    JoinFinished();
    idle_.reserve(workers_.size() + 1);  // A worker must not fail at becoming idle.
    const auto self = workers_.emplace(workers_.end());
    try {
        self->thread = std::thread(&ThreadPool::Work, this, self);
    } catch (const std::system_error& error) {
        ORVA_LOGE("cannot start a thread: %s", error.what());
        workers_.erase(self);
        return false;
    }
    return true;
}

void ThreadPool::Work(std::list<Worker>::iterator self) {
    current = &*self;
    MutexLock lock(mutex_);
    for (;;) {
        self->runs = false;
        Task task = TakeTask(*self);
        if (task != nullptr) {
            lock.Unlock();
        } else if (stopping_) {
            break;
        } else {
            idle_.push_back(&*self);
            const bool surplus = workers_.size() > count_;
            lock.Unlock();
            if (!surplus) {
                self->wakeUp.Wait();
            } else if (!self->wakeUp.WaitFor(kSurplusTime)) {
                lock.Lock();
                if (LeaveIdle(*self)) {
                    if (workers_.size() > count_) {
                        break;
                    }
                    continue;
                }
                lock.Unlock();
                self->wakeUp.Wait();  // Somebody has chosen it and is about to wake it.
            }
            task = std::exchange(self->task, nullptr);
        }
        if (task != nullptr) {
            task();
            task = nullptr;
        }
        lock.Lock();
    }
    finished_.splice(finished_.end(), workers_, self);
    ended_.NotifyAll();
}

// False when it is idle no longer.
bool ThreadPool::LeaveIdle(Worker& worker) {
    const auto place = std::find(idle_.begin(), idle_.end(), &worker);
    if (place == idle_.end()) {
        return false;
    }
    idle_.erase(place);
    return true;
}

bool ThreadPool::WantsStandIn() const {
    const Clock::time_point now = Clock::now();
    const auto stoodIn = std::count_if(workers_.begin(), workers_.end(), [&](const Worker& worker) {
        return worker.runs && (worker.blocked || now - worker.since > kSlowTime);
    });
    return workers_.size() < most_ && workers_.size() < count_ + static_cast<size_t>(stoodIn);
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
        const bool stalls = taken == taken_ && tasks_.HasOne(OwnerMayRun());
        if (stalls && !idle_.empty()) {
            WakeIdle();
        } else if (stalls && WantsStandIn()) {
            StartWorker();
        }
        watching_ = !tasks_.empty();
    }
}

}  // namespace orva::reference
