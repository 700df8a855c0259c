/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <thread>

#include <orva/reference/Executor.h>

#include "base/Mutex.h"

namespace orva::reference {

// An executor on threads of its own, started as tasks need them and joined at the end. `count`
// threads run tasks at a time. When tasks wait although fewer run, because some are in a
// BlockingScope, further threads stand in, up to `most` in all; they end when they are idle.
class ThreadPool : public Executor {
public:
    ThreadPool(size_t count, size_t most);
    // Shuts down, so it must not run on one of the pool's own threads.
    ~ThreadPool() override;

    bool Post(Task task) override;
    void EnterBlocking() override { ++blocked_; }
    void LeaveBlocking() override { --blocked_; }

    void SetThreads(size_t count, size_t most);
    // Threads that run or await tasks.
    size_t Threads() const;

    // Refuses tasks from here on, waits until those accepted have ended, and joins the threads.
    // False when `patience` ran out first; the work is then still under way.
    bool Shutdown(std::chrono::nanoseconds patience);

private:
    void JoinFinished() ORVA_REQUIRES(mutex_);
    bool StartWorker() ORVA_REQUIRES(mutex_);
    bool WantsStandIn() const ORVA_REQUIRES(mutex_);
    void WatchForStalls() ORVA_REQUIRES(mutex_);
    void Work(std::list<std::thread>::iterator self);
    bool AwaitTask() ORVA_REQUIRES(mutex_);
    void Watch();

    mutable Mutex mutex_;
    Condition work_;     // a task for an idle worker, or the end
    Condition stalled_;  // for the watcher: tasks wait and nobody is idle, or the end
    Condition ended_;    // a worker has ended

    std::deque<Task> tasks_ ORVA_GUARDED_BY(mutex_);
    std::list<std::thread> workers_ ORVA_GUARDED_BY(mutex_);
    std::list<std::thread> finished_ ORVA_GUARDED_BY(mutex_);
    std::thread watcher_ ORVA_GUARDED_BY(mutex_);
    size_t count_ ORVA_GUARDED_BY(mutex_);
    size_t most_ ORVA_GUARDED_BY(mutex_);
    size_t idle_ ORVA_GUARDED_BY(mutex_) = 0;
    uint64_t taken_ ORVA_GUARDED_BY(mutex_) = 0;
    bool watching_ ORVA_GUARDED_BY(mutex_) = false;
    bool stopping_ ORVA_GUARDED_BY(mutex_) = false;
    std::atomic<size_t> blocked_{0};
};

}  // namespace orva::reference
