/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "driver/RequestBench.h"

#include <algorithm>

#include "Payload.h"
#include "request/BenchNode.h"

namespace orva_bench {

namespace {

struct Case {
    const char* variant;
    Load load;
    const char* nodeType = kPooledNode;
    Contestant::Log log = Contestant::Log::kWarnings;
};

constexpr size_t operator""_MiB(unsigned long long count) {
    return count * 1024 * 1024;
}

constexpr Load managed(Work work, size_t inputSize) {
    return {inputSize, 1, TensorMemory::kShared, work, usualCallbacks(work)};
}

constexpr Case kCases[] = {
        {"", {4096, 1}},
        {"", {kPictureSize, 1}},
        {"", {1_MiB, 1}},
        {"", {16_MiB, 1}},
        {"", {64_MiB, 1}},
        {"", {kPictureSize, 8}},
        {"", {kPictureSize, 64}},
        {"ION tensors", {kPictureSize, 1, TensorMemory::kIon}},
        {"ION tensors", {64_MiB, 1, TensorMemory::kIon}},
        {"client with a pool",
         {kPictureSize, 1, TensorMemory::kShared, Work::kRequest, Callbacks::kPooled}},
        {"node without threads", {kPictureSize, 1}, kInlineNode},
        {"log of each step", {kPictureSize, 1}, kPooledNode, Contestant::Log::kProgressToNowhere},
        {"model manager: request", managed(Work::kManagerRequest, kPictureSize)},
        {"model manager: bind, start", managed(Work::kBinding, kPictureSize)},
        {"model manager: open, close", managed(Work::kSession, kModelSize)},
        {"model manager: open, close", managed(Work::kSession, 4096)},
        {"no model: open, close", managed(Work::kSession, 0)},
        {"model manager: build", managed(Work::kBuild, 4096)},
        {"model manager: build", managed(Work::kBuild, 200_MiB)},
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// So many that each client has several in a round, unless a look at it is all that is wanted.
uint32_t requestsInRound(const RequestSettings& settings, const Load& load) {
    return settings.requests == 1
                   ? 1
                   : std::max(settings.requests, static_cast<uint32_t>(20 * load.clients));
}

RequestRow measure(const RequestSettings& settings, const Case& which) {
    const Contestant floor = Contestant::floor(which.load, settings.placement, settings.folder);
    const Contestant ours = Contestant::services(which.load, settings.placement, settings.folder,
                                                 which.nodeType, which.log);
    const uint32_t requests = requestsInRound(settings, which.load);
    // A round that does not count, until what is made once has been made.
    floor.round(requests);
    ours.round(requests);
    std::vector<double> floorUs;
    std::vector<double> oursUs;
    std::vector<double> ratios;
    for (uint32_t round = 0; round < settings.rounds; ++round) {
        floorUs.push_back(floor.round(requests));
        oursUs.push_back(ours.round(requests));
        ratios.push_back(oursUs.back() / floorUs.back());
    }
    return {which.variant, which.load, median(floorUs), median(oursUs), median(ratios)};
}

}  // namespace

void runRequestBench(const RequestSettings& settings,
                     const std::function<void(const RequestRow&)>& report) {
    for (const Case& each : kCases) {
        report(measure(settings, each));
    }
}

RequestRow runPair(const RequestSettings& settings, const Load& load) {
    return measure(settings, {"", load});
}

double runAlone(const RequestSettings& settings, bool floor, const Load& load) {
    const Contestant contestant =
            floor ? Contestant::floor(load, settings.placement, settings.folder)
                  : Contestant::services(load, settings.placement, settings.folder, kPooledNode,
                                         Contestant::Log::kWarnings);
    std::vector<double> us;
    for (uint32_t round = 0; round < settings.rounds; ++round) {
        us.push_back(contestant.round(settings.requests));
    }
    return median(us);
}

}  // namespace orva_bench
