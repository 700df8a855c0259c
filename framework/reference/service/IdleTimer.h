/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>

#include <orva/AIServiceBase.h>

namespace orva {

// Counts how long a node has had no request. May be used from any thread.
class AIServiceBase::IdleTimer {
public:
    using Clock = std::chrono::steady_clock;

    // Until then nothing is counted.
    void Start() {
        idleSince_ = Clock::now();
        started_ = true;
    }

    void RequestBegins() { ++requests_; }

    void RequestEnds() {
        idleSince_ = Clock::now();
        --requests_;
    }

    std::chrono::nanoseconds IdleTime() const {
        return started_ && requests_ == 0 ? Clock::now() - idleSince_.load()
                                          : Clock::duration::zero();
    }

private:
    std::atomic<bool> started_{false};
    std::atomic<unsigned> requests_{0};
    std::atomic<Clock::time_point> idleSince_{
            Clock::time_point()};  // Set before what it goes with.
};

}  // namespace orva
