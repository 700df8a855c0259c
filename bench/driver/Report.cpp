/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "driver/Report.h"

#include <sched.h>
#include <sys/utsname.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <nlohmann/json.hpp>

namespace orva_bench {

namespace {

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

std::string kernelRelease() {
    utsname name = {};
    uname(&name);
    return std::string(name.sysname) + " " + name.release + " " + name.machine;
}

// What else the machine is doing.
double loadAverage() {
    double average = 0;
    return getloadavg(&average, 1) == 1 ? average : 0;
}

std::string describe(const ChildProcess::Placement& placement) {
    return (placement.core ? "core " + std::to_string(*placement.core) : "any core") +
           (placement.realtime ? ", ahead of all else (SCHED_FIFO)" : "");
}

}  // namespace

Report::Report(const RequestSettings& settings, bool json) : settings_(settings), json_(json) {}

void Report::begin() const {
    if (json_) {
        return;
    }
    printf("%s, %s, load average %.2f\n", processorName().c_str(), kernelRelease().c_str(),
           loadAverage());
    printf("All processes on %s; medians of %u rounds of %u requests, floor and services in turn, "
           "the ratio that of neighbours;\n"
           "a request is 4 descriptors and its completion 2; the host logs warnings and errors "
           "only.\n\n",
           describe(settings_.placement).c_str(), settings_.rounds, settings_.requests);
    printf("%12s %9s %11s %11s %7s\n", "input bytes", "sessions", "floor us", "ours us", "ratio");
    fflush(stdout);
}

void Report::add(const RequestRow& row) {
    rows_.push_back(row);
    if (!json_) {
        printf("%12zu %9zu %11.1f %11.1f %7.2f%s%s\n", row.load.inputSize, row.load.clients,
               row.floorUs, row.oursUs, row.ratio, row.variant.empty() ? "" : "  ",
               row.variant.c_str());
        fflush(stdout);
    }
}

double Report::buildGrowth() const {
    std::vector<RequestRow> builds;
    std::copy_if(rows_.begin(), rows_.end(), std::back_inserter(builds),
                 [](const RequestRow& row) { return row.load.work == Work::kBuild; });
    return builds.back().ratio / builds.front().ratio;
}

void Report::end() const {
    if (!json_) {
        printf("\nBeside its floor, the largest build takes %.2f of the time of the smallest "
               "one.\n",
               buildGrowth());
        return;
    }
    nlohmann::json document = {{"processor", processorName()},
                               {"kernel", kernelRelease()},
                               {"loadAverage", loadAverage()},
                               {"core", settings_.placement.core.value_or(-1)},
                               {"realtime", settings_.placement.realtime},
                               {"rounds", settings_.rounds},
                               {"requests", settings_.requests},
                               {"hostLog", "warnings"},
                               {"buildGrowth", buildGrowth()}};
    for (const RequestRow& row : rows_) {
        document["rows"].push_back({{"variant", row.variant},
                                    {"inputBytes", row.load.inputSize},
                                    {"sessions", row.load.clients},
                                    {"floorUs", row.floorUs},
                                    {"oursUs", row.oursUs},
                                    {"ratio", row.ratio}});
    }
    printf("%s\n", document.dump(2).c_str());
}

namespace {

nlohmann::json toJson(const HostState& state) {
    return {{"residentKib", state.residentKib}, {"threads", state.threads},
            {"descriptors", state.descriptors}, {"mappings", state.mappings},
            {"sessions", state.sessions},       {"clients", state.links},
            {"objects", state.objects}};
}

}  // namespace

void reportSessions(const SessionSettings& settings, const SessionResult& result, bool json) {
    if (json) {
        const nlohmann::json document = {{"kibPerIdleSession", result.kibPerSession(settings)},
                                         {"nothingLeft", result.nothingLeft()},
                                         {"before", toJson(result.before)},
                                         {"idle", toJson(result.idle)},
                                         {"closed", toJson(result.closed)},
                                         {"cycled", toJson(result.cycled)},
                                         {"killed", toJson(result.killed)}};
        printf("%s\n", document.dump(2).c_str());
        return;
    }
    const std::string idle = std::to_string(settings.idleSessions) + " idle sessions of " +
                             std::to_string(settings.idleClients) + " clients";
    const std::pair<std::string, HostState> rows[] = {
            {"before any client", result.before},
            {idle, result.idle},
            {"after those", result.closed},
            {"after " + std::to_string(settings.cycles) + " sessions used once", result.cycled},
            {"after " + std::to_string(settings.kills) + " clients killed", result.killed},
    };
    printf("%-36s %9s %8s %12s %9s %9s %8s %8s\n", "the host", "KiB", "threads", "descriptors",
           "mappings", "sessions", "clients", "objects");
    for (const auto& [when, state] : rows) {
        printf("%-36s %9zu %8zu %12zu %9zu %9zu %8zu %8zu\n", when.c_str(), state.residentKib,
               state.threads, state.descriptors, state.mappings, state.sessions, state.links,
               state.objects);
    }
    printf("\nAn idle session: %.1f KiB of the host's memory. %s\n", result.kibPerSession(settings),
           result.nothingLeft() ? "Nothing was left behind." : "Something was left behind.");
}

}  // namespace orva_bench
