/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <ctime>

namespace orva::hidl {

// Nanoseconds on a clock that only goes forward, in steps of a few milliseconds: cheap enough to be
// read for each request, and as exact as a person needs it.
inline int64_t MonotonicNow() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

// The same to the nanosecond, for what is measured: it takes 23 ns to read, the other 3.
inline int64_t ExactNow() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace orva::hidl
