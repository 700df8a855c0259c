/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/InferenceBench.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include <android/log.h>
#include <nlohmann/json.hpp>

#include "driver/ChildProcess.h"
#include "inference/DirectClient.h"
#include "inference/LongModel.h"
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

// Two threads of the bare engine and some clients, on one model.
InferenceRow measure(const InferenceSettings& settings, const std::string& what, size_t clientCount,
                     Tensors how) {
    constexpr size_t kThreads = 2;
    const std::string directory = settings.folder + "/inference";
    const Processes direct = start(clientCount == 1 ? 1 : kThreads, [&](const Control& control) {
        return runDirectClient(control, settings.model);
    });
    const Processes clients = start(clientCount, [&](const Control& control) {
        return runServiceClient(control, settings.model, directory, how);
    });
    std::vector<double> directs, services, alones, ratios, throughputs;
    for (uint32_t i = 0; i < settings.rounds; ++i) {
        directs.push_back(round(direct, 1, settings.requests));
        services.push_back(round(clients, 1, settings.requests));
        ratios.push_back(services.back() / directs.back());
        if (clientCount > 1) {
            throughputs.push_back(round(direct, kThreads, settings.requests) /
                                  round(clients, clientCount, settings.requests));
        }
    }
    for (uint32_t i = 0; i < settings.rounds; ++i) {
        alones.push_back(round(clients, 1, settings.requests));
    }
    return {what,           median(directs), median(services),
            median(alones), median(ratios),  throughputs.empty() ? 0 : median(throughputs)};
}

}  // namespace

void runInferenceBench(const InferenceSettings& settings,
                       const std::function<void(const InferenceRow&)>& report) {
    constexpr size_t kClients = 4;
    const std::string directory = settings.folder + "/inference";
    const Processes host = start(1, [&](const Control& control) {
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);
        return runBenchHost(control, directory, Managers::kReference);
    });
    report(measure(settings, "tensors sent with each request", kClients, Tensors::kSent));
    report(measure(settings, "tensors bound beforehand", kClients, Tensors::kBound));
    InferenceSettings longer = settings;
    longer.model = settings.folder + "/longer.onnx";
    std::ofstream(longer.model, std::ios::binary) << longerModel();
    report(measure(longer, "a longer model, tensors sent", kClients, Tensors::kSent));
    report(measure(longer, "a longer model, tensors bound", kClients, Tensors::kBound));
    if (settings.products != 0) {
        longer.model = settings.folder + "/long.onnx";
        longer.rounds = std::min<uint32_t>(settings.rounds, 7);
        longer.requests = 1;
        std::ofstream(longer.model, std::ios::binary) << longModel(settings.products);
        report(measure(longer, "a long model, tensors sent", 1, Tensors::kSent));
    }
}

void InferenceReport::begin() const {
    if (!json_) {
        printf("%-32s %10s %12s %10s %7s %14s\n", "", "direct us", "services us", "alone us",
               "ratio", "four at once");
    }
}

void InferenceReport::add(const InferenceRow& row) {
    rows_.push_back(row);
    if (!json_) {
        printf("%-32s %10.1f %12.1f %10.1f %7.3f", row.what.c_str(), row.directUs, row.servicesUs,
               row.aloneUs, row.ratio);
        printf(row.throughputRatio != 0 ? " %14.3f\n" : "\n", row.throughputRatio);
        fflush(stdout);
    }
}

void InferenceReport::end() const {
    if (!json_) {
        puts("alone: the services without the engine's turns in between\n"
             "four at once: requests a second of four clients by those of two threads of the bare "
             "engine");
        return;
    }
    nlohmann::json document = nlohmann::json::array();
    for (const InferenceRow& row : rows_) {
        document.push_back({{"what", row.what},
                            {"direct_us", row.directUs},
                            {"services_us", row.servicesUs},
                            {"services_alone_us", row.aloneUs},
                            {"ratio", row.ratio}});
        if (row.throughputRatio != 0) {
            document.back()["throughput_ratio"] = row.throughputRatio;
        }
    }
    puts(document.dump(2).c_str());
}

}  // namespace orva_bench
