/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "service/ConnectionTable.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/Log.h"

namespace orva::reference {

namespace {

// The process of "process:client"; 0, which is nobody, where there is none.
pid_t ProcessOf(const std::string& id) {
    pid_t pid = 0;
    std::from_chars(id.data(), id.data() + id.size(), pid);
    return pid;
}

}  // namespace

void ConnectionTable::SetLimit(size_t limit) {
    MutexLock lock(mutex_);
    limit_ = limit;
}

void ConnectionTable::SetTimeout(std::chrono::nanoseconds timeout) {
    MutexLock lock(mutex_);
    timeout_ = timeout;
}

void ConnectionTable::SetSpare(size_t most) {
    MutexLock lock(mutex_);
    spare_ = most;
}

size_t ConnectionTable::Count() const {
    MutexLock lock(mutex_);
    return entries_.size();
}

bool ConnectionTable::HasRoom() const {
    MutexLock lock(mutex_);
    return entries_.size() < limit_;
}

std::string ConnectionTable::TimedOut() {
    Entry forgotten;  // Let go of outside the lock.
    MutexLock lock(mutex_);
    auto dead = entries_.end(), idle = entries_.end();
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        auto& oldest = entry->second.client->HasGone() ? dead : idle;
        if (oldest == entries_.end() || entry->second.lastUse < oldest->second.lastUse) {
            oldest = entry;
        }
    }
    if (dead != entries_.end()) {
        // Nobody will speak for it again, and it may be the other service's.
        std::string id = dead->first;
        std::swap(forgotten, dead->second);
        entries_.erase(dead);
        return id;
    }
    const bool isOver = idle != entries_.end() && now_() - idle->second.lastUse >= timeout_;
    return isOver ? idle->first : std::string();
}

// What a process may have counted besides its sessions would otherwise be everybody's room.
bool ConnectionTable::IsWithinBound(const Client& client) const {
    if (spare_ == 0 || client.pid() == 0 || !Client::AreKnown()) {
        return true;
    }
    const auto count = std::count_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
        return entry.second.client.get() == &client;
    });
    if (static_cast<size_t>(count) < client.sessions.held() + spare_) {
        return true;
    }
    ORVA_LOGE("process %d is refused: %zd clients for its %zu sessions (--client-listeners)",
              client.pid(), count, client.sessions.held());
    return false;
}

void ConnectionTable::Touch(std::string id) {
    const Clock::time_point now = now_();
    {
        MutexLock lock(mutex_);
        const auto known = entries_.find(id);
        if (known != entries_.end()) {
            known->second.lastUse = std::max(known->second.lastUse, now);
            return;
        }
    }
    Entry entry{now, Client::Of(ProcessOf(id))};
    MutexLock lock(mutex_);
    if (IsWithinBound(*entry.client)) {
        entries_.emplace(std::move(id), std::move(entry));
    }
}

void ConnectionTable::Remove(const std::string& id) {
    Entry forgotten;  // Let go of outside the lock.
    MutexLock lock(mutex_);
    const auto known = entries_.find(id);
    if (known != entries_.end()) {
        std::swap(forgotten, known->second);
        entries_.erase(known);
    }
}

}  // namespace orva::reference
