/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/Mutex.h"

namespace orva::reference {

// When each client was last heard of. The clock must not run backwards. May be used from any
// thread.
class ConnectionTable {
public:
    using Clock = std::chrono::steady_clock;

    explicit ConnectionTable(std::function<Clock::time_point()> now = Clock::now)
            : now_(std::move(now)) {}

    void SetLimit(size_t limit);
    void SetTimeout(std::chrono::nanoseconds timeout);

    size_t Count() const;
    bool HasRoom() const;
    // The client that has been idle longest, when that is the time-out or more; else empty.
    std::string TimedOut() const;
    void Touch(std::string id);
    void Remove(const std::string& id);

private:
    const std::function<Clock::time_point()> now_;
    mutable Mutex mutex_;
    size_t limit_ ORVA_GUARDED_BY(mutex_) = 512;
    std::chrono::nanoseconds timeout_ ORVA_GUARDED_BY(mutex_) = std::chrono::minutes(10);
    std::unordered_map<std::string, Clock::time_point> lastUse_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::reference
