/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "driver/Contestant.h"

namespace orva_bench {

struct RequestSettings {
    ChildProcess::Placement placement;
    uint32_t rounds;
    uint32_t requests;  // in a round, by all clients together
    std::string folder;
};

// One line of the result: what a request took, in microseconds, as the median of the rounds.
struct RequestRow {
    std::string variant;  // "" for the usual one
    Load load;
    double floorUs;
    double oursUs;
    // The median of the ratios of neighbouring rounds, and not the ratio of the medians: a machine
    // that others use, too, changes its speed for seconds at a time.
    double ratio;
};

// Measures the floor and the services under every load and variant, their rounds taking turns, and
// hands out each row as soon as it is there.
void runRequestBench(const RequestSettings& settings,
                     const std::function<void(const RequestRow&)>& report);

// Both under one load.
RequestRow runPair(const RequestSettings& settings, const Load& load);

// One contestant alone under one load, for a look at it with other tools. Returns microseconds.
double runAlone(const RequestSettings& settings, bool floor, const Load& load);

}  // namespace orva_bench
