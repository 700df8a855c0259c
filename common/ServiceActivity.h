/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "common/Clock.h"
#include "common/LiveList.h"
#include "common/Log.h"
#include "common/Mutex.h"
#include "common/Refusal.h"

namespace orva::hidl {

class SessionRecord;

// A count of requests: of those begun, how many are over, and how many of those were carried out.
class RequestCount {
public:
    void Begin() { Add(begun_); }
    void End(bool done) {
        Add(over_);
        if (done) {
            Add(done_);
        }
    }

    uint64_t Done() const { return done_.load(std::memory_order_relaxed); }
    // The end of a request may be counted here before its beginning is seen.
    uint64_t InFlight() const {
        const uint64_t over = over_.load(std::memory_order_relaxed);
        const uint64_t begun = begun_.load(std::memory_order_relaxed);
        return begun > over ? begun - over : 0;
    }

private:
    static void Add(std::atomic<uint64_t>& count) { count.fetch_add(1, std::memory_order_relaxed); }

    std::atomic<uint64_t> begun_{0}, over_{0}, done_{0};
};

// What a service has done since it began, and says of it. Every operation may be called from any
// thread, with any lock of the service held.
class ServiceActivity {
public:
    // The interface's name, and the tag of the service's lines in the log. Both outlive this.
    ServiceActivity(const char* name, const char* tag) : name_(name), tag_(tag) {}

    // Refuses something to a client: one line in the log (ERROR, but INFO for kSessionLimit), one
    // more of its reason, one entry among the latest. Returns the status, to be answered with.
    int32_t Refuse(const LogSource& source, Refusal reason, int32_t status,
                   const std::string& client, const char* format, ...)
            __attribute__((format(printf, 6, 7)));
    // The same without a line in the log, where the system's clients expect none.
    int32_t Refuse(const LogSource& source, Refusal reason, int32_t status,
                   const std::string& client);

    const char* Name() const { return name_; }
    const char* Tag() const { return tag_; }
    int64_t Age() const { return MonotonicNow() - began_; }  // nanoseconds
    uint64_t Refusals(Refusal reason) const {
        return refusals_[static_cast<size_t>(reason)].load(std::memory_order_relaxed);
    }
    // Some hundreds, oldest first.
    std::deque<RefusedCall> LatestRefusals() const;

    RequestCount requests;                    // of all sessions, also those that are gone
    LiveList<const SessionRecord*> sessions;  // that are among the service's, also while opening

private:
    void Keep(RefusedCall call);

    const char* const name_;
    const char* const tag_;
    const int64_t began_ = MonotonicNow();
    std::array<std::atomic<uint64_t>, static_cast<size_t>(Refusal::kCount_)> refusals_{};
    mutable Mutex mutex_;
    std::deque<RefusedCall> latest_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::hidl
