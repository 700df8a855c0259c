/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace orva::client {

// How long requests took, from the call to the arrival of their result.
class Latency {
public:
    void add(std::chrono::nanoseconds time) { times_.push_back(time); }
    size_t count() const { return times_.size(); }

    // The least time that `part` (0 to 1) of the requests did not exceed. Unit: milliseconds.
    // At least one request must have been added.
    double percentile(double part) const;

    // One line, for people.
    std::string text() const;
    nlohmann::json json() const;

private:
    std::vector<std::chrono::nanoseconds> times_;
};

// Measures from its making on.
class Stopwatch {
public:
    std::chrono::nanoseconds elapsed() const { return Clock::now() - begin_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point begin_ = Clock::now();
};

// For messages: "2.31 ms", "224.3 KiB".
std::string milliseconds(std::chrono::nanoseconds time);
std::string sizeText(size_t bytes);

}  // namespace orva::client
