/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "client/perf/Load.h"

namespace orva::client {

// A call of a client, or a callback to it, as its host tells of it.
struct TracedCall {
    using Time = std::chrono::nanoseconds;  // Since some moment that all of a trace share.

    uint64_t id = 0;
    Time begin{0};
    std::optional<Time> end;  // None while it is under way.
    pid_t thread = 0;         // Of the host.
    pid_t client = 0;
    bool isCallback = false;
    std::string interface;
    std::string method;
    nlohmann::ordered_json arguments;
    nlohmann::ordered_json results;
    // The client could not be told; the end is when that was seen, at the latest.
    bool isLost = false;

    Time duration() const { return end.value_or(begin) - begin; }
    // Its status, or what it tells the client; nothing where the method has none.
    std::optional<int64_t> status() const;
    // It ended otherwise than its caller wants.
    bool hasFailed() const;
    // What it tells of how long its request waited and was computed.
    std::optional<RequestTiming::Service> service() const;
};

// Makes calls of the lines that a host tells of them in.
class TracedCalls {
public:
    // A call that has ended; nothing for every other line. Throws std::runtime_error for what is no
    // such line, and when the host refuses to tell.
    std::optional<TracedCall> take(const std::string& line);

    // Set by the host's first line; 0 before.
    pid_t host() const { return host_; }
    // Lines that this reader was too slow for.
    uint64_t lost() const { return lost_; }
    // What has begun and not ended, by id.
    const std::map<uint64_t, TracedCall>& open() const { return open_; }

private:
    pid_t host_ = 0;
    uint64_t lost_ = 0;
    std::map<uint64_t, TracedCall> open_;
};

}  // namespace orva::client
