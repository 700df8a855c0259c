/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/ai/AiStatsLogBuilder.h>

#include <cstring>
#include <deque>

#include <orva/reference/StatsLog.h>

#include "base/Mutex.h"

namespace orva::reference {

namespace {

// Clients cause events and name themselves in them, so neither may grow without a bound.
constexpr size_t kMostEvents = 1000;
constexpr size_t kMostText = 255;

struct Events {
    Mutex mutex;
    uint64_t count ORVA_GUARDED_BY(mutex) = 0;
    std::deque<StatsEvent> latest ORVA_GUARDED_BY(mutex);
};

Events& TheEvents() {
    // Never destroyed: calls may come while the process exits.
    static auto& events = *new Events;
    return events;
}

std::string Cut(const char* text) {
    return text != nullptr ? std::string(text, strnlen(text, kMostText)) : std::string();
}

void Record(StatsEvent event) {
    Events& events = TheEvents();
    MutexLock lock(events.mutex);
    ++events.count;
    if (events.latest.size() == kMostEvents) {
        events.latest.pop_front();
    }
    events.latest.push_back(std::move(event));
}

}  // namespace

uint64_t StatsEventCount() {
    Events& events = TheEvents();
    MutexLock lock(events.mutex);
    return events.count;
}

std::vector<StatsEvent> LatestStatsEvents() {
    Events& events = TheEvents();
    MutexLock lock(events.mutex);
    return {events.latest.begin(), events.latest.end()};
}

}  // namespace orva::reference

namespace ai {

void AiStatsLogBuilder::Stats(unsigned uid, AiStatsEngineType type, const char* key,
                              const char* processName, int value) {
    using orva::reference::Cut;
    orva::reference::Record({uid, type, Cut(key), Cut(processName), value});
}

}  // namespace ai
