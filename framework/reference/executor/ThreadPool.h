/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <thread>
#include <vector>

#include <orva/reference/Executor.h>

#include "base/Mutex.h"
#include "base/Semaphore.h"
#include "executor/TaskTurns.h"

namespace orva::reference {

// An executor on threads of its own, started as tasks need them and joined at the end. `count`
// threads run tasks at a time, and owners take turns. When tasks wait although fewer run, because
// some are in a BlockingScope or have gone on for kSlowTime, further threads stand in, up to `most`
// in all; they end when they are idle. Of one owner no more than `count` tasks run at a time, slow
// ones among them, so that it takes no more from the others than if they were not there.
class ThreadPool : public Executor {
public:
    static constexpr std::chrono::milliseconds kSlowTime{100};

    ThreadPool(size_t count, size_t most);
    // Shuts down, so it must not run on one of the pool's own threads.
    ~ThreadPool() override;

    bool Post(Task task) override { return PostFor(nullptr, std::move(task)); }
    bool PostFor(const void* owner, Task task) override;
    // On one of the pool's own threads.
    void EnterBlocking() override;
    void LeaveBlocking() override;

    void SetThreads(size_t count, size_t most);
    // Threads that run or await tasks.
    size_t Threads() const;

    // Refuses tasks from here on, waits until those accepted have ended, and joins the threads.
    // False when `patience` ran out first; the work is then still under way.
    bool Shutdown(std::chrono::nanoseconds patience);

private:
    using Clock = std::chrono::steady_clock;

    // A thread, and the task that an idle one is woken with; without one it looks around again.
    struct Worker {
        std::thread thread;
        Semaphore wakeUp;
        Task task;
        // Of what it runs.
        bool runs = false;
        const void* owner = nullptr;
        Clock::time_point since;
        std::atomic<bool> blocked{false};
    };
    static thread_local Worker* current;

    void Begin(Worker& worker, const void* owner) ORVA_REQUIRES(mutex_);
    Task TakeTask(Worker& worker) ORVA_REQUIRES(mutex_);
    bool MayRun(const void* owner) const ORVA_REQUIRES(mutex_);
    // The same to be called by others while this one holds the lock, which the analysis cannot see.
    auto OwnerMayRun() const ORVA_REQUIRES(mutex_) {
        return [this](const void* owner)
                       ORVA_THREAD_ATTRIBUTE(no_thread_safety_analysis) { return MayRun(owner); };
    }
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

    TaskTurns tasks_ ORVA_GUARDED_BY(mutex_);
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
};

}  // namespace orva::reference
