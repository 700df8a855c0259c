/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>

#include <orva/AIServiceBase.h>

#include "base/Mutex.h"

namespace orva {

// Counts how long a node has had no request. May be used from any thread.
class AIServiceBase::IdleTimer {
public:
    using Clock = std::chrono::steady_clock;

    // Until then nothing is counted.
    void Start() {
        reference::MutexLock lock(mutex_);
        started_ = true;
        idleSince_ = Clock::now();
    }

    void RequestBegins() {
        reference::MutexLock lock(mutex_);
        ++requests_;
    }

    void RequestEnds() {
        reference::MutexLock lock(mutex_);
        if (--requests_ == 0) {
            idleSince_ = Clock::now();
        }
    }

    std::chrono::nanoseconds IdleTime() const {
        reference::MutexLock lock(mutex_);
        return started_ && requests_ == 0 ? Clock::now() - idleSince_ : Clock::duration::zero();
    }

private:
    mutable reference::Mutex mutex_;
    bool started_ ORVA_GUARDED_BY(mutex_) = false;
    unsigned requests_ ORVA_GUARDED_BY(mutex_) = 0;
    Clock::time_point idleSince_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva
