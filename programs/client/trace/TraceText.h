/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "client/perf/Histogram.h"
#include "client/trace/TracedCall.h"

namespace orva::client {

// A call for people, without an end of line: `0.001234 4711/4720 > Process(1, ...) = 0 <0.052 ms>`:
// the seconds since `start`, its client and the host's thread, > for a call and < for a callback.
// What a peer has chosen is escaped. Further lines are indented; no line is longer than `width`, as
// far as words allow.
std::string callText(const TracedCall& call, TracedCall::Time start, size_t width);
// The same, all of it, for scripts.
nlohmann::ordered_json callJson(const TracedCall& call, TracedCall::Time start);

// How often each method was called, and how long it took.
class TraceSummary {
public:
    void add(const TracedCall& call);

    // A table, the methods that took longest together first.
    std::string text() const;
    nlohmann::ordered_json json() const;

private:
    struct Method {
        Histogram times;
        uint64_t failures = 0;
    };
    std::map<std::string, Method> methods_;
};

}  // namespace orva::client
