/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/Mutex.h"
#include "client/Client.h"

namespace orva::reference {

// When each client was last heard of, and whether its process still lives: a client's id begins
// with the number of that. The clock must not run backwards. May be used from any thread.
class ConnectionTable {
public:
    using Clock = std::chrono::steady_clock;

    explicit ConnectionTable(std::function<Clock::time_point()> now = Clock::now)
            : now_(std::move(now)) {}

    void SetLimit(size_t limit);
    void SetTimeout(std::chrono::nanoseconds timeout);
    // How many clients of one process are counted beyond its sessions; 0 is without a bound.
    void SetSpare(size_t most);

    size_t Count() const;
    bool HasRoom() const;
    // A client whose process has ended, which is forgotten from here on; else the one that has been
    // idle longest, when that is the time-out or more; else empty. Of several dead ones the one
    // that was heard of least lately.
    std::string TimedOut();
    void Touch(std::string id);
    void Remove(const std::string& id);

private:
    struct Entry {
        Clock::time_point lastUse;
        std::shared_ptr<Client> client;
    };

    bool IsWithinBound(const Client& client) const ORVA_REQUIRES(mutex_);

    const std::function<Clock::time_point()> now_;
    mutable Mutex mutex_;
    size_t limit_ ORVA_GUARDED_BY(mutex_) = 512;
    size_t spare_ ORVA_GUARDED_BY(mutex_) = 64;
    std::chrono::nanoseconds timeout_ ORVA_GUARDED_BY(mutex_) = std::chrono::minutes(10);
    std::unordered_map<std::string, Entry> entries_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::reference
