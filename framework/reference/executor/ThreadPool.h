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
#include <vector>

#include <orva/reference/Executor.h>

#include "base/Mutex.h"
#include "base/Semaphore.h"

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
    // A thread, and the task that an idle one is woken with; without one it looks around again.
    struct Worker {
        std::thread thread;
        Semaphore wakeUp;
        Task task;
    };

    void JoinFinished() ORVA_REQUIRES(mutex_);
    bool StartWorker() ORVA_REQUIRES(mutex_);
    bool WantsStandIn() const ORVA_REQUIRES(mutex_);
    void WatchForStalls() ORVA_REQUIRES(mutex_);
    void WakeIdle() ORVA_REQUIRES(mutex_);
    bool LeaveIdle(Worker& worker) ORVA_REQUIRES(mutex_);
    void Work(std::list<Worker>::iterator self);
    void Watch();

    mutable Mutex mutex_;
    Condition stalled_;  // for the watcher: tasks wait and nobody is idle, or the end
    Condition ended_;    // a worker has ended

    std::deque<Task> tasks_ ORVA_GUARDED_BY(mutex_);  // only while nobody is idle
    std::list<Worker> workers_ ORVA_GUARDED_BY(mutex_);
    std::list<Worker> finished_ ORVA_GUARDED_BY(mutex_);
    std::vector<Worker*> idle_
            ORVA_GUARDED_BY(mutex_);  // the last to have become so is woken first
    std::thread watcher_ ORVA_GUARDED_BY(mutex_);
    size_t count_ ORVA_GUARDED_BY(mutex_);
    size_t most_ ORVA_GUARDED_BY(mutex_);
    uint64_t taken_ ORVA_GUARDED_BY(mutex_) = 0;
    bool watching_ ORVA_GUARDED_BY(mutex_) = false;
    bool stopping_ ORVA_GUARDED_BY(mutex_) = false;
    std::atomic<size_t> blocked_{0};
};

}  // namespace orva::reference
