/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include "driver/RequestBench.h"
#include "sessions/SessionBench.h"

namespace orva_bench {

// Prints results, as a table row by row or as one JSON document at the end.
class Report {
public:
    Report(const RequestSettings& settings, bool json);

    // Tells where and how the figures came about.
    void begin() const;
    void add(const RequestRow& row);
    void end() const;

private:
    // What a build of the most bytes costs by one of the fewest, each beside its floor; nobody
    // copies any.
    double buildGrowth() const;

    const RequestSettings settings_;
    const bool json_;
    std::vector<RequestRow> rows_;
};

// The session benchmark's only report.
void reportSessions(const SessionSettings& settings, const SessionResult& result, bool json);

}  // namespace orva_bench
