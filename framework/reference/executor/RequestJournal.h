/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <orva/reference/RequestTimes.h>

namespace orva::reference {

// The times of a queue's requests, for LatestRequests(). Used by one thread at a time.
class RequestJournal {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr size_t kShown = 16;

    // The number of a request, by which the rest is told. One that was accepted ends once, with or
    // without having begun.
    uint64_t Accept(Clock::time_point now);
    void Begin(uint64_t request, Clock::time_point now);
    void End(uint64_t request, Clock::time_point now, int32_t result);
    // It was not accepted after all.
    void Forget(uint64_t request) { underWay_.erase(Find(request)); }

    std::vector<RequestTimes> Look(Clock::time_point now) const;

private:
    struct Entry {
        uint64_t number;
        Clock::time_point accepted;
        Clock::time_point begun = Clock::time_point::max();
        Clock::time_point ended = Clock::time_point::max();
        int32_t result = 0;
    };

    static RequestTimes TimesOf(const Entry& entry, Clock::time_point now);
    std::vector<Entry>::iterator Find(uint64_t request);

    std::vector<Entry> underWay_;
    std::array<Entry, kShown> ended_;  // the next one's place is the oldest's
    size_t endedCount_ = 0;
    uint64_t last_ = 0;
};

// One that has such times. It can be seen from Show() to Hide(), which whoever is destroyed calls
// before any part of it has gone.
class RequestSource {
public:
    virtual SessionRequests LatestRequests() = 0;

protected:
    ~RequestSource() = default;
    void Show();
    void Hide();
};

}  // namespace orva::reference
