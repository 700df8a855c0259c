/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "service/ConnectionTable.h"

#include <algorithm>

namespace orva::reference {

void ConnectionTable::SetLimit(size_t limit) {
    MutexLock lock(mutex_);
    limit_ = limit;
}

void ConnectionTable::SetTimeout(std::chrono::nanoseconds timeout) {
    MutexLock lock(mutex_);
    timeout_ = timeout;
}

size_t ConnectionTable::Count() const {
    MutexLock lock(mutex_);
    return lastUse_.size();
}

bool ConnectionTable::HasRoom() const {
    MutexLock lock(mutex_);
    return lastUse_.size() < limit_;
}

std::string ConnectionTable::TimedOut() const {
    MutexLock lock(mutex_);
    const auto oldest = std::min_element(
            lastUse_.begin(), lastUse_.end(),
            [](const auto& left, const auto& right) { return left.second < right.second; });
    if (oldest == lastUse_.end() || now_() - oldest->second < timeout_) {
        return {};
    }
    return oldest->first;
}

void ConnectionTable::Touch(std::string id) {
    const Clock::time_point now = now_();
    MutexLock lock(mutex_);
    Clock::time_point& lastUse = lastUse_[std::move(id)];
    lastUse = std::max(lastUse, now);
}

void ConnectionTable::Remove(const std::string& id) {
    MutexLock lock(mutex_);
    lastUse_.erase(id);
}

}  // namespace orva::reference
