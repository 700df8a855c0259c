/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "debug/Clock.h"

namespace orva::hidl {

// Why something that was asked of a service did not come about.
enum class Refusal {
    kClientLimit,
    kSessionLimit,
    kUnknownType,  // the framework has no such node, or no model manager
    kModelRegion,
    kInit,  // the framework's word at Init
    kNoSession,
    kInputTensor,
    kOutputTensor,
    kRequest,  // the framework's word on a request
    kListenerSet,
    kMemory,
    kNoListener,  // a result that nobody waits for
    kLostOutput,  // an output that could not be sent
    kDelivery,    // a listener that could not be reached
    kBuildTooLarge,
    kBuildRegion,
    kBuild,  // the framework's word on a build
    kCount_,
};

// The name of a reason in dumps: words joined by "_".
const char* RefusalName(Refusal reason);

// What a service has done since it began. Every operation may be called from any thread; none
// takes a lock.
class ServiceActivity {
public:
    void Refuse(Refusal reason) { Add(refusals_[static_cast<size_t>(reason)]); }

    uint64_t Refusals(Refusal reason) const {
        return refusals_[static_cast<size_t>(reason)].load(std::memory_order_relaxed);
    }
    uint64_t InFlight() const { return InFlight(started_, ended_); }
    uint64_t Done() const { return done_.load(std::memory_order_relaxed); }
    int64_t Age() const { return MonotonicNow() - began_; }

private:
    friend class SessionActivity;
    using Counter = std::atomic<uint64_t>;

    static void Add(Counter& counter) { counter.fetch_add(1, std::memory_order_relaxed); }
    // The end of a request may be counted here before its start is seen.
    static uint64_t InFlight(const Counter& started, const Counter& ended) {
        const uint64_t over = ended.load(std::memory_order_relaxed);
        const uint64_t all = started.load(std::memory_order_relaxed);
        return all > over ? all - over : 0;
    }

    const int64_t began_ = MonotonicNow();
    std::array<Counter, static_cast<size_t>(Refusal::kCount_)> refusals_{};
    Counter started_{0};
    Counter ended_{0};
    Counter done_{0};
};

// The same of one session, whose service outlives it. Requests in flight keep it when the session
// has ended.
class SessionActivity {
public:
    SessionActivity(ServiceActivity& service, const char* type);

    void Use() { lastUse_.store(MonotonicNow(), std::memory_order_relaxed); }
    // The session is no longer among its service's.
    void SessionEnds() { sessionEnded_ = true; }
    bool HasEnded() const { return sessionEnded_; }
    // Each request that starts ends once: it is done, or was refused, which is counted as such.
    void RequestStarts();
    void RequestIsDone();
    void RequestIsRefused(Refusal reason);

    // A long type is cut.
    const std::string& Type() const { return type_; }
    // Nanoseconds.
    int64_t SinceLastUse() const {
        return MonotonicNow() - lastUse_.load(std::memory_order_relaxed);
    }
    uint64_t InFlight() const { return ServiceActivity::InFlight(started_, ended_); }
    uint64_t Done() const { return done_.load(std::memory_order_relaxed); }

private:
    void End();

    ServiceActivity& service_;
    const std::string type_;
    std::atomic<int64_t> lastUse_{MonotonicNow()};
    std::atomic<bool> sessionEnded_{false};
    ServiceActivity::Counter started_{0};
    ServiceActivity::Counter ended_{0};
    ServiceActivity::Counter done_{0};
};

// Of a service's sessions, by their service id.
using SessionActivities = std::map<std::string, std::shared_ptr<SessionActivity>>;

// Takes a session out, if it is there, marked as ended for those who still hold it.
void EndSession(SessionActivities& sessions, const std::string& serviceId);

}  // namespace orva::hidl
