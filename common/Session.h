/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "common/ClientProcess.h"
#include "common/Clock.h"
#include "common/ServiceActivity.h"

namespace orva::hidl {

// Where a session stands. It ends from any of them, once.
//
//   kOpening ──▶ kOpen       the framework's object is initialised
//      └───────▶ kNotOpened  it is not, and the session stays until its client ends it
enum class SessionState { kOpening, kOpen, kNotOpened, kEnded };

// What a service keeps of a session besides the framework's object: whose it is, where it stands,
// what it has done. Requests in flight own it beyond the session's end, and the service outlives
// them. Every operation may be called from any thread.
class SessionRecord {
public:
    // Made in the client's call, and shown among the service's sessions from here on. `type` is the
    // client's word; a long one is cut, because each session keeps it.
    SessionRecord(ServiceActivity& service, std::string id, const std::string& type)
            : service_(service), id_(std::move(id)), type_(type, 0, kLongestType) {
        service_.Show(this);
    }
    ~SessionRecord() {
        // One that has ended may outlive the service.
        if (!HasEnded()) {
            service_.Hide(this);
        }
    }
    SessionRecord(const SessionRecord&) = delete;
    SessionRecord& operator=(const SessionRecord&) = delete;

    const std::string& Id() const { return id_; }
    const std::string& Type() const { return type_; }
    const ClientProcess& Client() const { return *client_; }
    SessionState State() const { return state_; }
    const RequestCount& Requests() const { return requests_; }
    int64_t SinceLastUse() const { return MonotonicNow() - lastUse_; }  // nanoseconds

    void Use() { lastUse_ = MonotonicNow(); }
    // Ends the opening, unless the session has ended meanwhile.
    void Opened(bool initialised) {
        SessionState opening = SessionState::kOpening;
        state_.compare_exchange_strong(
                opening, initialised ? SessionState::kOpen : SessionState::kNotOpened);
    }
    // The session is no longer among its service's. Under the lock of those, before its time is
    // removed from the connection table.
    void End() {
        state_ = SessionState::kEnded;
        service_.Hide(this);
    }
    bool HasEnded() const { return state_ == SessionState::kEnded; }

    // Each request that begins ends once.
    void RequestBegins() {
        const int64_t now = ExactNow();
        requests_.Begin(now);
        service_.requests.Begin(now);
    }
    void RequestEnds(bool done) {
        const int64_t now = ExactNow();
        requests_.End(now, done);
        service_.requests.End(now, done);
    }

private:
    static constexpr size_t kLongestType = 64;

    ServiceActivity& service_;
    const std::string id_;
    const std::string type_;
    const std::shared_ptr<const ClientProcess> client_ = ClientProcess::Calling();
    std::atomic<int64_t> lastUse_{MonotonicNow()};
    std::atomic<SessionState> state_{SessionState::kOpening};
    RequestCount requests_;
};

// A session: the framework's object, and what the service keeps besides. The service's table has
// one of each id, and each request copies it for as long as it takes, so neither ends under it.
template <typename Framework>
struct Session {
    std::shared_ptr<Framework> framework;
    std::shared_ptr<SessionRecord> record;

    explicit operator bool() const { return framework != nullptr; }
};

// The session of an id in its service's table; an empty one where there is none.
template <typename Sessions>
typename Sessions::mapped_type FindSession(const Sessions& sessions, const std::string& serviceId) {
    const auto found = sessions.find(serviceId);
    return found != sessions.end() ? found->second : typename Sessions::mapped_type{};
}

// Takes a session out of its service's table. False where there is none.
template <typename Sessions>
bool EndSession(Sessions& sessions, const std::string& serviceId) {
    const auto found = sessions.find(serviceId);
    if (found == sessions.end()) {
        return false;
    }
    found->second.record->End();
    sessions.erase(found);
    return true;
}

}  // namespace orva::hidl
