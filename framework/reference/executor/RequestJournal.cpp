/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/RequestJournal.h"

#include <algorithm>
#include <set>

#include "base/Mutex.h"

namespace orva::reference {

namespace {

struct Sources {
    Mutex mutex;
    std::set<RequestSource*> all ORVA_GUARDED_BY(mutex);
};

Sources& TheSources() {
    // Never destroyed: sessions may end while the process exits.
    static auto& sources = *new Sources;
    return sources;
}

}  // namespace

uint64_t RequestJournal::Accept(Clock::time_point now) {
    underWay_.push_back({++last_, now});
    return last_;
}

void RequestJournal::Begin(uint64_t request, Clock::time_point now) {
    Find(request)->begun = now;
}

void RequestJournal::End(uint64_t request, Clock::time_point now, int32_t result) {
    const auto entry = Find(request);
    entry->ended = now;
    entry->result = result;
    ended_[endedCount_++ % kShown] = *entry;
    underWay_.erase(entry);
}

std::vector<RequestTimes> RequestJournal::Look(Clock::time_point now) const {
    std::vector<RequestTimes> times;
    for (size_t i = endedCount_ - std::min(endedCount_, kShown); i < endedCount_; ++i) {
        times.push_back(TimesOf(ended_[i % kShown], now));
    }
    for (size_t i = 0; i < std::min(underWay_.size(), kShown); ++i) {
        times.push_back(TimesOf(underWay_[i], now));
    }
    return times;
}

RequestTimes RequestJournal::TimesOf(const Entry& entry, Clock::time_point now) {
    using Stage = RequestTimes::Stage;
    const Clock::time_point end = std::min(entry.ended, now);
    const Clock::time_point begin = std::min(entry.begun, end);
    const Stage stage = entry.ended <= now   ? Stage::kEnded
                        : entry.begun <= now ? Stage::kRunning
                                             : Stage::kWaiting;
    return {stage, now - entry.accepted, begin - entry.accepted, end - begin, entry.result};
}

std::vector<RequestJournal::Entry>::iterator RequestJournal::Find(uint64_t request) {
    return std::find_if(underWay_.begin(), underWay_.end(),
                        [request](const Entry& entry) { return entry.number == request; });
}

void RequestSource::Show() {
    Sources& sources = TheSources();
    MutexLock lock(sources.mutex);
    sources.all.insert(this);
}

void RequestSource::Hide() {
    Sources& sources = TheSources();
    MutexLock lock(sources.mutex);
    sources.all.erase(this);
}

std::vector<SessionRequests> LatestRequests() {
    Sources& sources = TheSources();
    MutexLock lock(sources.mutex);
    std::vector<SessionRequests> latest;
    for (RequestSource* const source : sources.all) {
        latest.push_back(source->LatestRequests());
    }
    return latest;
}

}  // namespace orva::reference
