/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <nlohmann/json_fwd.hpp>

namespace orva::client {

// What a service says of requests, and what follows from two looks at it.
struct RequestState {
    uint64_t inFlight = 0;
    uint64_t done = 0;
    // What all have taken together, those in flight as far as they have got; starts again at some
    // time. Unit: microseconds.
    uint64_t taken = 0;
    // The same at the latest look that found more done than the one before it.
    uint64_t takenThen = 0;

    // Requests a second since an earlier look; 0 when that was at another session, or host.
    double rateSince(const RequestState& before, double seconds) const;
    // What each has taken that was done since, in the mean, unless none was. Of a few that take
    // longer than the time between two looks it is off by as much as that. Unit: milliseconds.
    std::optional<double> latencySince(const RequestState& before) const;
};

// What a service says of one session.
struct SessionState {
    std::string id;  // "4711:1": the client's process, and its number for the session
    std::string type;
    RequestState requests;

    // 0 when the id does not begin with one.
    pid_t pid() const;
};

// A call that it refused.
struct RefusalState {
    double ago = 0;      // Unit: seconds.
    std::string client;  // a session's id
    std::string program;
    std::string method;
    int64_t status = 0;
    std::string text;
};

// What it says of itself.
struct ServiceState {
    std::string name;  // "IAIService"
    pid_t pid = 0;
    double age = 0;         // Unit: seconds.
    RequestState requests;  // also of sessions that are gone
    uint64_t refusals = 0;  // for whatever reason
    uint64_t mappedBytes = 0;
    std::vector<SessionState> sessions;
    std::vector<RefusalState> latestRefusals;  // the latest last
};

// Of a service's own dump; what it does not say is zero. Throws std::runtime_error when it is none.
ServiceState serviceStateOf(const std::string& dump);

// What the kernel says of a process; empty when there is none such.
struct ProcessFacts {
    std::string program;
    unsigned threads = 0;
    uint64_t residentBytes = 0;
};
std::optional<ProcessFacts> processFacts(pid_t pid);

// What a person watches: rates and latencies since `before`, `seconds` ago, of the services that
// are in both, and each one's latest refusals. No line is longer than `width`.
// Has the later look remember what the earlier one does of the time before both.
void follow(const std::vector<ServiceState>& before, std::vector<ServiceState>* now);
std::string watchText(const std::vector<ServiceState>& before, const std::vector<ServiceState>& now,
                      double seconds, size_t width);

}  // namespace orva::client
