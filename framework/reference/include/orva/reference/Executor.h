/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace orva::reference {

// Where tasks run. Every operation may be called from any thread.
class Executor {
public:
    // Must not throw.
    using Task = std::function<void()>;

    virtual ~Executor() = default;

    // Takes a task, which then runs exactly once. False when it was refused: it will never run.
    virtual bool Post(Task task) = 0;

    // The same for an owner, such as a client process, whose tasks must not keep those of others
    // waiting. It is only compared.
    virtual bool PostFor(const void* owner, Task task) {
        static_cast<void>(owner);
        return Post(std::move(task));
    }

    // A task says that it is about to wait for another party, and that it no longer does, so that
    // its thread can be stood in for. See BlockingScope.
    virtual void EnterBlocking() {}
    virtual void LeaveBlocking() {}
};

// Runs each task at once on the thread that posts it.
class InlineExecutor : public Executor {
public:
    bool Post(Task task) override {
        task();
        return true;
    }
};

// Held by a task around a call that may take as long as another party likes.
class BlockingScope {
public:
    explicit BlockingScope(Executor& executor) : executor_(executor) { executor_.EnterBlocking(); }
    ~BlockingScope() { executor_.LeaveBlocking(); }
    BlockingScope(const BlockingScope&) = delete;
    BlockingScope& operator=(const BlockingScope&) = delete;

private:
    Executor& executor_;
};

// The executor of the nodes that are made from now on: the framework's own threads unless
// UseExecutor said otherwise.
std::shared_ptr<Executor> FrameworkExecutor();

// Replaces the executor of the nodes made from now on; null brings the framework's threads back.
void UseExecutor(std::shared_ptr<Executor> executor);

}  // namespace orva::reference
