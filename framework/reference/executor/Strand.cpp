/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/Strand.h"

#include <utility>

namespace orva::reference {

bool Strand::Post(Executor::Task task) {
    {
        MutexLock lock(mutex_);
        if (draining_) {
            return false;
        }
        tasks_.push_back(std::move(task));
        if (scheduled_ != nullptr) {
            return true;
        }
        scheduled_ = shared_from_this();
    }
    if (Schedule()) {
        return true;
    }
    // The executor has been shut down. The first task is this call's own; what others were promised
    // behind it meanwhile has no other thread left to run on.
    Executor::Task refused;
    {
        MutexLock lock(mutex_);
        refused = std::move(tasks_.front());
        tasks_.pop_front();
        if (tasks_.empty()) {
            scheduled_ = nullptr;
            return false;
        }
    }
    Drain();
    return false;
}

bool Strand::Schedule() {
    return executor_.Post([this] { Turn(); });
}

// One task a turn, so that strands with much to do take turns with the others.
void Strand::Turn() {
    if (RunFirst() && !Schedule()) {
        Drain();
    }
}

// Runs what is left here and now, since the executor takes no more turns. Nobody may add to it
// meanwhile, or it might never end.
void Strand::Drain() {
    const std::shared_ptr<Strand> self = shared_from_this();
    {
        MutexLock lock(mutex_);
        draining_ = true;
    }
    while (RunFirst()) {
    }
    MutexLock lock(mutex_);
    draining_ = false;
}

// Runs the first task; true when another one waits. The strand may be gone after false.
bool Strand::RunFirst() {
    Executor::Task task;
    {
        MutexLock lock(mutex_);
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
    task = nullptr;
    std::shared_ptr<Strand> idle;  // Perhaps the last to hold it, so let go of after the lock.
    MutexLock lock(mutex_);
    if (!tasks_.empty()) {
        return true;
    }
    idle.swap(scheduled_);
    return false;
}

}  // namespace orva::reference
