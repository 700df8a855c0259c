/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace orva::client {

// How often times came up, to within half a percent of each, in the same memory for any number of
// them. Times beyond two hours count as that.
class Histogram {
public:
    void add(std::chrono::nanoseconds time);
    void add(const Histogram& others);

    uint64_t count() const { return count_; }
    // All are zero when there are none. The least, the greatest and the mean are exact.
    std::chrono::nanoseconds least() const { return count_ == 0 ? kNone : least_; }
    std::chrono::nanoseconds greatest() const { return greatest_; }
    std::chrono::nanoseconds mean() const;
    // The time that `part` (0 to 1) of them did not exceed.
    std::chrono::nanoseconds percentile(double part) const;
    // How many lie in [from, to), as far as they are told apart.
    uint64_t between(std::chrono::nanoseconds from, std::chrono::nanoseconds to) const;

private:
    static constexpr std::chrono::nanoseconds kNone{0};
    // Each power of two in this many steps.
    static constexpr unsigned kStepBits = 7;
    static constexpr unsigned kPowers = 43;
    static constexpr size_t kBuckets = size_t{kPowers - kStepBits + 1} << kStepBits;

    static size_t bucketOf(uint64_t time);
    static uint64_t middleOf(size_t bucket);

    std::array<uint64_t, kBuckets> buckets_ = {};
    uint64_t count_ = 0;
    std::chrono::nanoseconds sum_{0};
    std::chrono::nanoseconds least_ = std::chrono::nanoseconds::max();
    std::chrono::nanoseconds greatest_{0};
};

}  // namespace orva::client
