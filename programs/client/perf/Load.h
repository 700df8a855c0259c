/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/perf/Histogram.h"

namespace orva::client {

// How requests are sent.
struct LoadPlan {
    // Requests a second, sent when each is due, however long the others take; a request's latency
    // counts from then. 0: each worker sends its next when it has the result of its last.
    double rate = 0;
    std::chrono::nanoseconds duration{0};
    // Before that; not counted.
    std::chrono::nanoseconds warmup{0};
};

// Where the time of one request went.
struct RequestTiming {
    std::chrono::nanoseconds call{0};   // until the service had taken it
    std::chrono::nanoseconds total{0};  // until its result was here
    // What the service says: how long it waited there and how long it was computed.
    struct Service {
        std::chrono::nanoseconds queue{0};
        std::chrono::nanoseconds run{0};
    };
    std::optional<Service> service = {};
    std::optional<size_t> files = {};  // Which of those that requests take turns with, if they do.
};

// What came of a load, or of a second of it.
struct LoadResult {
    Histogram latency;
    Histogram late;  // At a rate: from when it was due until it could be sent.
    Histogram call;
    // Of those requests of which the service says so.
    Histogram queue;
    Histogram run;
    // With each of the files that requests take turns with.
    struct Turn {
        uint64_t requests = 0;
        std::chrono::nanoseconds latency{0};  // of them all
    };
    std::map<size_t, Turn> turns;
    uint64_t failures = 0;
    std::string firstFailure;

    void add(const RequestTiming& timing, std::chrono::nanoseconds late);
    void add(const LoadResult& others);
};

// One second, or what there was of the last one.
struct LoadSecond {
    size_t number = 0;  // from 1 on
    uint64_t requests = 0;
    uint64_t failures = 0;
    double perSecond = 0;
    std::chrono::nanoseconds median{0};
    std::chrono::nanoseconds p99{0};
};

struct LoadReport {
    LoadResult result;
    std::vector<LoadSecond> seconds;
    std::chrono::nanoseconds measured{0};

    double throughput() const;
};

// Sends requests on one thread for each worker, which sends one and waits for its result, or
// throws. A worker whose requests keep failing goes on a little slower. Returns when the time is
// over or `stop` is set, and each worker has its last result. `eachSecond` is called on the
// caller's thread.
LoadReport runLoad(const LoadPlan& plan, const std::vector<std::function<RequestTiming()>>& workers,
                   const std::function<void(const LoadSecond&)>& eachSecond,
                   const std::atomic<bool>& stop);

}  // namespace orva::client
