/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orva::reference {

// How far a request has got that was accepted.
struct RequestTimes {
    enum class Stage { kWaiting, kRunning, kEnded };

    Stage stage;
    std::chrono::nanoseconds age;     // since it was accepted
    std::chrono::nanoseconds waited;  // before it began; so far, or all of it if it never did
    std::chrono::nanoseconds ran;     // so far, or until its end
    int32_t result;                   // once it has ended
};

// Those of one node or model manager that is there.
struct SessionRequests {
    const char* service;  // "IAIService" or "IModelManagerService"
    // The session's id, once a call has told which that is; before that "process 4711", or nothing
    // where UseClientIdentity does not know one.
    std::string session;
    // The latest that have ended and then the first that are under way, 16 of each at most, each in
    // the order in which they ended or were accepted.
    std::vector<RequestTimes> requests;
};

// Of all there are. From any thread.
std::vector<SessionRequests> LatestRequests();

}  // namespace orva::reference
