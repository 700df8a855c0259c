/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace android::hardware {

// The process's thread pool.
class ProcessState : public virtual RefBase {
public:
    static sp<ProcessState> self();

    // Bounds the pool: at most `maxThreads` threads serve at once, the one that starts the pool
    // and, with `callerJoinsPool`, the one that will join it included. OK, or BAD_VALUE for 0.
    status_t setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool);

    // Starts the pool's first thread, unless the pool runs already or its whole size is the caller
    // that is to join. More start as calls need them.
    void startThreadPool();

protected:
    ProcessState() = default;
    ~ProcessState() override = default;
};

}  // namespace android::hardware
