/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Latency.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace orva::client {

namespace {

double inMilliseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

}  // namespace

double Latency::percentile(double part) const {
    std::vector<std::chrono::nanoseconds> sorted = times_;
    std::sort(sorted.begin(), sorted.end());
    const auto rank = static_cast<size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return inMilliseconds(sorted[std::clamp<size_t>(rank, 1, sorted.size()) - 1]);
}

std::string Latency::text() const {
    char text[160];
    if (count() == 1) {
        snprintf(text, sizeof text, "latency %.2f ms", percentile(1));
    } else {
        snprintf(text, sizeof text,
                 "latency of %zu requests: min %.2f, median %.2f, p90 %.2f, p99 %.2f, max %.2f ms",
                 count(), percentile(0), percentile(0.5), percentile(0.9), percentile(0.99),
                 percentile(1));
    }
    return text;
}

nlohmann::json Latency::json() const {
    return {{"requests", count()},    {"min", percentile(0)},    {"median", percentile(0.5)},
            {"p90", percentile(0.9)}, {"p99", percentile(0.99)}, {"max", percentile(1)},
            {"unit", "milliseconds"}};
}

std::string milliseconds(std::chrono::nanoseconds time) {
    char text[32];
    snprintf(text, sizeof text, "%.2f ms", inMilliseconds(time));
    return text;
}

std::string sizeText(size_t bytes) {
    constexpr const char* kUnits[] = {"KiB", "MiB", "GiB"};
    if (bytes < 1024) {
        return std::to_string(bytes) + " bytes";
    }
    auto amount = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    for (; amount >= 1024 && unit + 1 < std::size(kUnits); ++unit) {
        amount /= 1024;
    }
    char text[32];
    snprintf(text, sizeof text, "%.1f %s", amount, kUnits[unit]);
    return text;
}

}  // namespace orva::client
