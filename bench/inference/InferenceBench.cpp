/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/InferenceBench.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include <android/log.h>
#include <nlohmann/json.hpp>

#include "driver/ChildProcess.h"
#include "inference/DirectClient.h"
#include "request/BenchHost.h"

namespace orva_bench {

namespace {

using Processes = std::vector<std::unique_ptr<ChildProcess>>;

// Each runs `main`, is ready, and stays for its rounds.
Processes start(size_t count, const ChildProcess::Main& main) {
    Processes processes;
    for (size_t i = 0; i < count; ++i) {
        processes.push_back(std::make_unique<ChildProcess>(ChildProcess::Placement{}, main));
    }
    for (const auto& process : processes) {
        process->awaitReady();
    }
    return processes;
}

// All at once, from the first request's beginning to the last one's end, by the number of them.
double round(const Processes& processes, size_t count, uint32_t requests) {
    for (size_t i = 0; i < count; ++i) {
        processes[i]->control().send(RoundOrder{requests});
    }
    int64_t begin = std::numeric_limits<int64_t>::max(), end = 0;
    for (size_t i = 0; i < count; ++i) {
        RoundResult result = {};
        if (!processes[i]->control().receive(&result) || !result.ok) {
            throw std::runtime_error("a request failed");
        }
        begin = std::min(begin, result.beginNs);
        end = std::max(end, result.endNs);
    }
    return static_cast<double>(end - begin) / 1000 / static_cast<double>(count * requests);
}

double median(std::vector<double> numbers) {
    std::nth_element(numbers.begin(), numbers.begin() + static_cast<ptrdiff_t>(numbers.size() / 2),
                     numbers.end());
    return numbers[numbers.size() / 2];
}

}  // namespace

InferenceResult runInferenceBench(const InferenceSettings& settings) {
    constexpr size_t kClients = 4, kThreads = 2;
    const std::string directory = settings.folder + "/inference";
    const Processes host = start(1, [&](const Control& control) {
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);
        return runBenchHost(control, directory);
    });
    const Processes direct = start(kThreads, [&](const Control& control) {
        return runDirectClient(control, settings.model);
    });
    const Processes clients = start(kClients, [&](const Control& control) {
        return runServiceClient(control, settings.model, directory);
    });
    std::vector<double> directs, services, ratios, throughputs;
    for (uint32_t i = 0; i < settings.rounds; ++i) {
        directs.push_back(round(direct, 1, settings.requests));
        services.push_back(round(clients, 1, settings.requests));
        ratios.push_back(services.back() / directs.back());
        throughputs.push_back(round(direct, kThreads, settings.requests) /
                              round(clients, kClients, settings.requests));
    }
    return {median(directs), median(services), median(ratios), median(throughputs)};
}

void reportInference(const InferenceSettings& settings, const InferenceResult& result, bool json) {
    if (json) {
        const nlohmann::json document = {{"model", settings.model},
                                         {"direct_us", result.directUs},
                                         {"services_us", result.servicesUs},
                                         {"ratio", result.ratio},
                                         {"throughput_ratio", result.throughputRatio}};
        puts(document.dump(2).c_str());
        return;
    }
    printf("one request: %.1f us in one process, %.1f us through the services, ratio %.3f\n"
           "four clients at once: %.3f of the requests a second of two bare threads\n",
           result.directUs, result.servicesUs, result.ratio, result.throughputRatio);
}

}  // namespace orva_bench
