/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <orva/ai/AiStatsLogBuilder.h>

namespace orva::reference {

// One usage event that was recorded through ai::AiStatsLogBuilder.
struct StatsEvent {
    unsigned uid;
    ai::AiStatsEngineType type;
    std::string key;  // cut to 255 bytes, as is the name
    std::string processName;
    int value;
};

// The usage events of this process. All may be called from any thread.

// How many there have been since the process began.
uint64_t StatsEventCount();

// The latest of them, up to 1,000, the oldest first.
std::vector<StatsEvent> LatestStatsEvents();

}  // namespace orva::reference
