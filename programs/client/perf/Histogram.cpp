/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/Histogram.h"

#include <algorithm>
#include <cmath>

namespace orva::client {

using std::chrono::nanoseconds;

size_t Histogram::bucketOf(uint64_t time) {
    constexpr uint64_t kSteps = uint64_t{1} << kStepBits;
    if (time < kSteps) {
        return static_cast<size_t>(time);
    }
    const auto power = static_cast<unsigned>(63 - __builtin_clzll(time));
    if (power >= kPowers) {
        return kBuckets - 1;
    }
    const uint64_t step = (time >> (power - kStepBits)) - kSteps;
    return ((power - kStepBits + 1) << kStepBits) + static_cast<size_t>(step);
}

uint64_t Histogram::middleOf(size_t bucket) {
    constexpr uint64_t kSteps = uint64_t{1} << kStepBits;
    if (bucket < kSteps) {
        return bucket;
    }
    const size_t shift = (bucket >> kStepBits) - 1;
    return ((kSteps + bucket % kSteps) << shift) + ((uint64_t{1} << shift) >> 1);
}

void Histogram::add(nanoseconds time) {
    time = std::max(time, nanoseconds{0});
    ++buckets_[bucketOf(static_cast<uint64_t>(time.count()))];
    ++count_;
    sum_ += time;
    least_ = std::min(least_, time);
    greatest_ = std::max(greatest_, time);
}

void Histogram::add(const Histogram& others) {
    for (size_t i = 0; i < kBuckets; ++i) {
        buckets_[i] += others.buckets_[i];
    }
    count_ += others.count_;
    sum_ += others.sum_;
    least_ = std::min(least_, others.least_);
    greatest_ = std::max(greatest_, others.greatest_);
}

nanoseconds Histogram::mean() const {
    return count_ == 0 ? kNone : nanoseconds(sum_.count() / static_cast<int64_t>(count_));
}

nanoseconds Histogram::percentile(double part) const {
    if (count_ == 0) {
        return kNone;
    }
    const auto rank = std::clamp<uint64_t>(
            static_cast<uint64_t>(std::ceil(part * static_cast<double>(count_))), 1, count_);
    uint64_t passed = 0;
    size_t bucket = 0;
    while ((passed += buckets_[bucket]) < rank) {
        ++bucket;
    }
    return std::clamp(nanoseconds(middleOf(bucket)), least_, greatest_);
}

uint64_t Histogram::between(nanoseconds from, nanoseconds to) const {
    uint64_t count = 0;
    for (size_t i = 0; i < kBuckets; ++i) {
        const nanoseconds middle(middleOf(i));
        count += middle >= from && middle < to ? buckets_[i] : 0;
    }
    return count;
}

}  // namespace orva::client
