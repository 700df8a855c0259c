/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include "request/HostState.h"

namespace orva_bench {

struct SessionSettings {
    uint32_t idleSessions;
    uint32_t idleClients;  // processes that hold them, each the same number
    uint32_t cycles;
    uint32_t kills;
    std::string folder;
};

struct SessionResult {
    HostState before;  // after a first client has come and gone
    HostState idle;    // with the idle sessions open
    HostState closed;  // after the idle clients have gone
    HostState cycled;  // after a client has opened, used and closed a session so many times
    HostState killed;  // after so many clients died amid their requests

    // What one idle session added to the host's resident memory.
    double kibPerSession(const SessionSettings& settings) const;
    // Whether the host came back to what it began with each time.
    bool nothingLeft() const;
};

// Throws when a process fails, or when the host still holds more than before after `patience`.
SessionResult runSessionBench(const SessionSettings& settings);

}  // namespace orva_bench
