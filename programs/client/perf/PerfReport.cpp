/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/PerfReport.h"

#include <cstdarg>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace orva::client {

namespace {

constexpr std::pair<const char*, double> kPercentiles[] = {
        {"median", 0.5}, {"p90", 0.9}, {"p99", 0.99}, {"p99.9", 0.999}};

double inMilliseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

double inSeconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

double meanOf(const LoadResult::Turn& turn) {
    return inMilliseconds(turn.latency) / static_cast<double>(turn.requests);
}

__attribute__((format(printf, 1, 2))) std::string line(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return std::string(text) + "\n";
}

}  // namespace

std::vector<TimePart> timeParts(const LoadReport& report) {
    const LoadResult& result = report.result;
    const double latency = inMilliseconds(result.latency.mean());
    const double call = inMilliseconds(result.call.mean());
    const double late = inMilliseconds(result.late.mean());
    std::vector<TimePart> parts;
    if (late > 0) {
        parts.push_back({"late", "from when it was due until it could be sent", late});
    }
    if (result.run.count() == 0 || result.run.count() != result.latency.count()) {
        parts.push_back({"call", "until the service had taken it", call});
        parts.push_back({"result", "until its result was here", latency - late - call});
        return parts;
    }
    const double queue = inMilliseconds(result.queue.mean());
    const double run = inMilliseconds(result.run.mean());
    parts.push_back({"queue", "waiting in the service", queue});
    parts.push_back({"compute", "computing", run});
    parts.push_back({"transport", "client and way, there and back", latency - late - queue - run});
    return parts;
}

std::string perfTableHead() {
    return line("%6s %11s %9s %9s", "second", "requests/s", "median ms", "p99 ms");
}

std::string perfTableLine(const LoadSecond& second) {
    std::string text = line("%6zu %11.1f %9.3f %9.3f", second.number, second.perSecond,
                            inMilliseconds(second.median), inMilliseconds(second.p99));
    if (second.failures > 0) {
        text += line("%6s %llu failed", "", static_cast<unsigned long long>(second.failures));
    }
    return text;
}

std::string perfText(const PerfSubject& subject) {
    const LoadReport& report = subject.report;
    const LoadResult& result = report.result;
    std::string text = subject.name + "\n";
    text += line("  at a time   %12zu", subject.concurrency);
    if (subject.plan.rate > 0) {
        text += line("  wanted      %12.1f requests/s", subject.plan.rate);
    }
    text += line("  throughput  %12.1f requests/s", report.throughput());
    text += line("  requests    %12llu in %.1f s",
                 static_cast<unsigned long long>(result.latency.count()),
                 inSeconds(report.measured));
    if (result.failures > 0) {
        text += line("  failed      %12llu", static_cast<unsigned long long>(result.failures));
    }
    if (result.latency.count() == 0) {
        return text;
    }
    text += line("  latency min %12.3f ms", inMilliseconds(result.latency.least()));
    text += line("         mean %12.3f ms", inMilliseconds(result.latency.mean()));
    for (const auto& [name, part] : kPercentiles) {
        text += line("%13s %12.3f ms", name, inMilliseconds(result.latency.percentile(part)));
    }
    text += line("          max %12.3f ms", inMilliseconds(result.latency.greatest()));
    text += "  of which, in the mean\n";
    for (const TimePart& part : timeParts(report)) {
        text += line("%13s %12.3f ms", part.name.c_str(), part.milliseconds);
    }
    if (!result.turns.empty()) {
        text += "  with each file, in the mean\n";
    }
    for (const auto& [number, turn] : result.turns) {
        text += line("%13llu %12.3f ms", static_cast<unsigned long long>(turn.requests),
                     meanOf(turn));
        for (const std::string& file : subject.files.at(number)) {
            text += "  " + file + "\n";
        }
    }
    return text;
}

nlohmann::json perfJson(const PerfSubject& subject) {
    const LoadReport& report = subject.report;
    const LoadResult& result = report.result;
    nlohmann::json latency = {{"min", inMilliseconds(result.latency.least())},
                              {"mean", inMilliseconds(result.latency.mean())},
                              {"max", inMilliseconds(result.latency.greatest())},
                              {"unit", "milliseconds"}};
    for (const auto& [name, part] : kPercentiles) {
        latency[name] = inMilliseconds(result.latency.percentile(part));
    }
    nlohmann::json parts = nlohmann::json::object();
    for (const TimePart& part : timeParts(report)) {
        parts[part.name] = part.milliseconds;
    }
    nlohmann::json seconds = nlohmann::json::array();
    for (const LoadSecond& second : report.seconds) {
        seconds.push_back({{"requests", second.requests},
                           {"failures", second.failures},
                           {"throughput", second.perSecond},
                           {"median", inMilliseconds(second.median)},
                           {"p99", inMilliseconds(second.p99)}});
    }
    nlohmann::json json = {{"name", subject.name},
                           {"concurrency", subject.concurrency},
                           {"rate", subject.plan.rate},
                           {"requests", result.latency.count()},
                           {"failures", result.failures},
                           {"seconds", inSeconds(report.measured)},
                           {"throughput", report.throughput()},
                           {"latency", latency},
                           {"mean_parts", parts},
                           {"over_time", seconds}};
    for (const auto& [number, turn] : result.turns) {
        json["files"].push_back({{"files", subject.files.at(number)},
                                 {"requests", turn.requests},
                                 {"mean", meanOf(turn)}});
    }
    return json;
}

}  // namespace orva::client
