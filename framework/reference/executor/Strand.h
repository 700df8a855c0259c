/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <deque>
#include <memory>

#include <orva/reference/Executor.h>

#include "base/Mutex.h"

namespace orva::reference {

// Runs tasks on an executor one at a time and in the order of their posting, so that whoever posts
// through one strand occupies one of the executor's threads at most.
class Strand : public std::enable_shared_from_this<Strand> {
public:
    // The executor must outlive the posts; it does outlive the tasks, since it runs them.
    // The owner is whom the executor runs the tasks for.
    explicit Strand(Executor& executor, const void* owner = nullptr)
            : executor_(executor), owner_(owner) {}

    // As Executor::Post.
    bool Post(Executor::Task task);
    // The task that runs will not end soon: the next one begins beside it. From another thread than
    // the task's, once for each.
    void GoOnWithoutTask();
    Executor& executor() { return executor_; }

private:
    bool Schedule();
    void Turn();
    void Drain();
    bool RunFirst();

    Executor& executor_;
    const void* const owner_;
    Mutex mutex_;
    std::deque<Executor::Task> tasks_ ORVA_GUARDED_BY(mutex_);
    // This strand itself, while a turn is due or under way; a turn then needs no more than its
    // address.
    std::shared_ptr<Strand> scheduled_ ORVA_GUARDED_BY(mutex_);
    bool draining_ ORVA_GUARDED_BY(mutex_) = false;
    // Counts turns and those taken away from a task, so that the task finds out when it ends.
    unsigned turn_ ORVA_GUARDED_BY(mutex_) = 0;
};

}  // namespace orva::reference
