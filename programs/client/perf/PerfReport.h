/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/perf/Load.h"

namespace orva::client {

// What was measured, of one model or node.
struct PerfSubject {
    std::string name;
    size_t concurrency = 1;
    LoadPlan plan;
    LoadReport report;
    // Of each turn in the report.
    std::vector<std::vector<std::string>> files = {};
};

// A part of the requests' time, by its mean.
struct TimePart {
    std::string name;
    std::string explanation;
    double milliseconds;
};

// Where the time of the requests went: in the order in which it passed, and in all their latency.
std::vector<TimePart> timeParts(const LoadReport& report);

// For people, in lines that fit into 40 columns.
std::string perfText(const PerfSubject& subject);
nlohmann::json perfJson(const PerfSubject& subject);
// The head and a line of the table that is shown as it goes.
std::string perfTableHead();
std::string perfTableLine(const LoadSecond& second);

// One file that needs nothing else: latency's distribution, throughput over time, and where the
// time went, for each.
std::string perfHtml(const std::vector<PerfSubject>& subjects);

}  // namespace orva::client
