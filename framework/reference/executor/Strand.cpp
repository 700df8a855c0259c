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
    return executor_.PostFor(owner_, [this] { Turn(); });
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

void Strand::GoOnWithoutTask() {
    std::shared_ptr<Strand> idle;
    MutexLock lock(mutex_);
    ++turn_;
    if (tasks_.empty()) {
        idle.swap(scheduled_);
    } else {
        lock.Unlock();
        const bool scheduled = Schedule();
        lock.Lock();
        if (!scheduled) {
            --turn_;  // The executor takes no more turns, so the task goes on with the rest.
        }
    }
}

// Runs the first task; true when another one waits that is this turn's to run. The strand may be
// gone after false.
bool Strand::RunFirst() {
    Executor::Task task;
    unsigned turn;
    std::shared_ptr<Strand> idle;  // Perhaps the last to hold it, so let go of after the lock.
    {
        MutexLock lock(mutex_);
        task = std::move(tasks_.front());
        tasks_.pop_front();
        turn = ++turn_;
    }
    const std::shared_ptr<Strand> self = shared_from_this();
    task();
    task = nullptr;
    MutexLock lock(mutex_);
    if (turn != turn_) {
        return false;
    }
    if (!tasks_.empty()) {
        return true;
    }
    idle.swap(scheduled_);
    return false;
}

}  // namespace orva::reference
