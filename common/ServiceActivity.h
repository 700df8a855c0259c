/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <set>
#include <string>

#include "common/Clock.h"
#include "common/Log.h"
#include "common/Mutex.h"

namespace orva::hidl {

class SessionRecord;

// Something that was asked of a service and did not come about, for people to look at.
struct RefusedCall {
    int64_t at;           // nanoseconds, on MonotonicNow()'s clock
    std::string client;   // its service id
    std::string program;  // of that process; empty where the kernel does not tell
    const char* method;
    int32_t status;
    std::string text;  // as in the log, or cut; empty when nothing was logged
};

// A count of requests, and how long they take. Each that begins ends once, at times of ExactNow().
class RequestCount {
public:
    struct Seen {
        uint64_t inFlight, done;
        // What all requests have taken together, those in flight as far as they have got, and those
        // that were refused, too. For differences: it starts again from 0 after kMostMicros.
        uint64_t micros;
    };

    void Begin(int64_t now) { state_.fetch_add(1 - TimeOf(now), std::memory_order_release); }
    void End(int64_t now, bool isDone) {
        state_.fetch_add(TimeOf(now) - 1, std::memory_order_release);
        done_.fetch_add(isDone ? 1 : 0, std::memory_order_relaxed);
    }
    Seen Look() const {
        const uint64_t done = done_, state = state_.load(std::memory_order_acquire);
        const uint64_t inFlight = state & kMostInFlight;
        // Read last: no request that is seen to have begun may have done so later.
        return {inFlight, done, (state + inFlight * TimeOf(ExactNow())) >> kCountBits};
    }

    static constexpr unsigned kCountBits = 20;
    static constexpr uint64_t kMostInFlight = (uint64_t{1} << kCountBits) - 1;
    static constexpr uint64_t kMostMicros = UINT64_MAX >> kCountBits;

private:
    // Rounded down at both ends, which is right in the mean.
    static uint64_t TimeOf(int64_t now) { return static_cast<uint64_t>(now / 1000) << kCountBits; }

    // How many are in flight, and above that the times of those that have ended without those of
    // those that have begun: in one number, so that whoever looks sees them of one moment.
    std::atomic<uint64_t> state_{0};
    std::atomic<uint64_t> done_{0};
};

// What a service has done since it began, and says of it. Every operation may be called from any
// thread, with any lock of the service held.
class ServiceActivity {
public:
    // The interface's name, and the tag of the service's lines in the log. Both outlive this.
    ServiceActivity(const char* name, const char* tag) : name_(name), tag_(tag) {}

    // Refuses something to a client: one line in the log, of the level that its source has, and one
    // entry among the latest refusals. Returns the status, to be answered with.
    int32_t Refuse(const LogSource& source, int32_t status, const std::string& client,
                   const char* format, ...) __attribute__((format(printf, 5, 6)));
    // The same without a line in the log, where the system's clients expect none.
    int32_t Refuse(const LogSource& source, int32_t status, const std::string& client);

    const char* Name() const { return name_; }
    const char* Tag() const { return tag_; }
    int64_t Age() const { return MonotonicNow() - began_; }  // nanoseconds
    uint64_t Refusals() const { return refusals_; }
    // Some hundreds, oldest first.
    std::deque<RefusedCall> LatestRefusals() const;

    // The sessions that are the service's, also while they are being opened.
    void Show(const SessionRecord* session);
    void Hide(const SessionRecord* session);
    // Calls a function with each; it must be quick, for none can come or go meanwhile.
    template <typename Function>
    void ForEachSession(Function&& function) const {
        const MutexLock lock(mutex_);
        for (const SessionRecord* session : sessions_) {
            function(*session);
        }
    }

    RequestCount requests;  // of all sessions, also those that are gone

private:
    void Keep(const LogSource& source, int32_t status, const std::string& client, std::string text);

    const char* const name_;
    const char* const tag_;
    const int64_t began_ = MonotonicNow();
    std::atomic<uint64_t> refusals_{0};
    mutable Mutex mutex_;
    std::deque<RefusedCall> latest_ ORVA_GUARDED_BY(mutex_);
    std::set<const SessionRecord*> sessions_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::hidl
