/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "driver/Report.h"

#include <sched.h>
#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

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

std::string placeOf(const RequestSettings& settings) {
    return settings.core ? "core " + std::to_string(*settings.core) : "any core";
}

}  // namespace

Report::Report(const RequestSettings& settings, bool json) : settings_(settings), json_(json) {}

void Report::begin() const {
    if (json_) {
        return;
    }
    printf("%s, %s, load average %.2f\n", processorName().c_str(), kernelRelease().c_str(),
           loadAverage());
    printf("All processes on %s; medians of %u rounds of %u requests, floor and services in turn; "
           "a request is 4 descriptors and its completion 2;\n"
           "the host logs warnings and errors only.\n\n",
           placeOf(settings_).c_str(), settings_.rounds, settings_.requests);
    printf("%12s %9s %11s %11s %7s\n", "input bytes", "sessions", "floor us", "ours us", "ratio");
    fflush(stdout);
}

void Report::add(const RequestRow& row) {
    rows_.push_back(row);
    if (!json_) {
        printf("%12zu %9zu %11.1f %11.1f %7.2f%s%s\n", row.load.inputSize, row.load.clients,
               row.floorUs, row.oursUs, row.ratio(), row.variant.empty() ? "" : "  ",
               row.variant.c_str());
        fflush(stdout);
    }
}

void Report::end() const {
    if (!json_) {
        return;
    }
    nlohmann::json document = {
            {"processor", processorName()}, {"kernel", kernelRelease()},
            {"loadAverage", loadAverage()}, {"core", settings_.core.value_or(-1)},
            {"rounds", settings_.rounds},   {"requests", settings_.requests},
            {"hostLog", "warnings"}};
    for (const RequestRow& row : rows_) {
        document["rows"].push_back({{"variant", row.variant},
                                    {"inputBytes", row.load.inputSize},
                                    {"sessions", row.load.clients},
                                    {"floorUs", row.floorUs},
                                    {"oursUs", row.oursUs},
                                    {"ratio", row.ratio()}});
    }
    printf("%s\n", document.dump(2).c_str());
}

}  // namespace orva_bench
