/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>
#include <thread>
#include <utility>

#include <orva/reference/Executor.h>
#include <orva/reference/Settings.h>

#include "base/Mutex.h"
#include "executor/ThreadPool.h"
#include "executor/Work.h"

namespace orva::reference {

namespace {

constexpr std::chrono::seconds kPatienceAtExit{10};
constexpr size_t kMostThreads = 512;

// More would take turns on the same processors, and each other's caches away.
size_t UsualThreads() {
    return std::clamp<size_t>(std::thread::hardware_concurrency(), 2, kMostThreads);
}

// The pool itself is never destroyed, since nodes may be around as long as the process is; its
// threads end with the first of Shutdown and the process's exit. The first node is made after the
// services have been, so their threads have ended before the services are destroyed; but for those
// that nothing ends, which the exit must not wait for.
const std::shared_ptr<ThreadPool>& Pool() {
    static const auto& pool =
            *new std::shared_ptr<ThreadPool>(new ThreadPool(UsualThreads(), kMostThreads));
    static const struct AtExit {
        ~AtExit() {
            if (!pool->Shutdown(kPatienceAtExit)) {
                CancelWork();
                pool->Shutdown(Work::kGrace);
            }
        }
    } atExit;
    return pool;
}

struct Replacement {
    Mutex mutex;
    std::shared_ptr<Executor> executor ORVA_GUARDED_BY(mutex);
};

Replacement& InUse() {
    static auto& replacement = *new Replacement;
    return replacement;
}

}  // namespace

std::shared_ptr<Executor> FrameworkExecutor() {
    {
        Replacement& inUse = InUse();
        MutexLock lock(inUse.mutex);
        if (inUse.executor != nullptr) {
            return inUse.executor;
        }
    }
    return Pool();
}

void UseExecutor(std::shared_ptr<Executor> executor) {
    Replacement& inUse = InUse();
    MutexLock lock(inUse.mutex);
    inUse.executor = std::move(executor);
}

void SetWorkerThreads(size_t count, size_t most) {
    Pool()->SetThreads(count, most);
}
bool Shutdown(std::chrono::nanoseconds patience) {
    return Pool()->Shutdown(patience);
}

}  // namespace orva::reference
