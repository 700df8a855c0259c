/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/InferenceBench.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include <android/log.h>
#include <nlohmann/json.hpp>

#include "driver/ChildProcess.h"
#include "inference/DirectClient.h"
#include "inference/EngineFloor.h"
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

// Clients of one server, round by round.
class Contender {
public:
    explicit Contender(Processes clients) : clients_(std::move(clients)) {}

    double one(uint32_t requests) { return round(clients_, 1, requests); }
    void addOne(uint32_t requests, double direct) {
        us_.push_back(one(requests));
        ratios_.push_back(us_.back() / direct);
    }
    void addAll(uint32_t requests, double direct) {
        throughputs_.push_back(direct / round(clients_, clients_.size(), requests));
    }

    Through result() const {
        return {median(us_), median(ratios_), throughputs_.empty() ? 0 : median(throughputs_)};
    }

private:
    const Processes clients_;
    std::vector<double> us_, ratios_, throughputs_;
};

// Two threads of the bare engine and some clients, on one model.
InferenceRow measure(const InferenceSettings& settings, const std::string& what, size_t clientCount,
                     Tensors how) {
    constexpr size_t kThreads = 2;
    const std::string directory = settings.folder + "/inference";
    const std::string path = settings.folder + "/floor";
    unlink(path.c_str());
    const Processes direct = start(clientCount == 1 ? 1 : kThreads, [&](const Control& control) {
        return runDirectClient(control, settings.model);
    });
    const Processes floorServer = start(1, [&](const Control& control) {
        return runEngineFloorServer(control, path, settings.model, how);
    });
    Contender floor(start(clientCount, [&](const Control& control) {
        return runEngineFloorClient(control, path, settings.model, how);
    }));
    Contender services(start(clientCount, [&](const Control& control) {
        return runServiceClient(control, settings.model, directory, how);
    }));
    std::vector<double> directs, alones;
    for (uint32_t i = 0; i < settings.rounds; ++i) {
        directs.push_back(round(direct, 1, settings.requests));
        floor.addOne(settings.requests, directs.back());
        services.addOne(settings.requests, directs.back());
        if (clientCount > 1) {
            const double together = round(direct, kThreads, settings.requests);
            floor.addAll(settings.requests, together);
            services.addAll(settings.requests, together);
        }
    }
    for (uint32_t i = 0; i < settings.rounds; ++i) {
        alones.push_back(services.one(settings.requests));
    }
    return {what, median(directs), floor.result(), services.result(), median(alones)};
}

}  // namespace

void runInferenceBench(const InferenceSettings& settings,
                       const std::function<void(const InferenceRow&)>& report) {
    constexpr size_t kClients = 4;
    setenv("ORT_DISABLE_TELEMETRY", "1", 1);
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
        printf("%-32s %10s %10s %12s %10s %16s %16s\n%-32s %45s %16s %16s\n", "", "direct us",
               "floor us", "services us", "alone us", "ratio", "four at once", "", "",
               "floor services", "floor services");
    }
}

void InferenceReport::add(const InferenceRow& row) {
    rows_.push_back(row);
    if (!json_) {
        printf("%-32s %10.1f %10.1f %12.1f %10.1f %7.3f %8.3f", row.what.c_str(), row.directUs,
               row.floor.us, row.services.us, row.aloneUs, row.floor.ratio, row.services.ratio);
        if (row.services.throughputRatio != 0) {
            printf(" %7.3f %8.3f", row.floor.throughputRatio, row.services.throughputRatio);
        }
        putchar('\n');
        fflush(stdout);
    }
}

void InferenceReport::end() const {
    if (!json_) {
        puts("floor: a server that runs the engine on the client's regions and makes besides only "
             "the system calls\n"
             "    that the tensors cannot do without\n"
             "alone: the services without the other two's turns in between\n"
             "four at once: requests a second of four clients by those of two threads of the bare "
             "engine");
        return;
    }
    nlohmann::json document = nlohmann::json::array();
    for (const InferenceRow& row : rows_) {
        nlohmann::json& entry = document.emplace_back();
        entry = {{"what", row.what},
                 {"direct_us", row.directUs},
                 {"floor_us", row.floor.us},
                 {"services_us", row.services.us},
                 {"services_alone_us", row.aloneUs},
                 {"floor_ratio", row.floor.ratio},
                 {"ratio", row.services.ratio}};
        if (row.services.throughputRatio != 0) {
            entry["floor_throughput_ratio"] = row.floor.throughputRatio;
            entry["throughput_ratio"] = row.services.throughputRatio;
        }
    }
    puts(document.dump(2).c_str());
}

}  // namespace orva_bench
