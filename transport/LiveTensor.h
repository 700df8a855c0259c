/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include "common/LiveList.h"

namespace orva::hidl {

// A tensor that has its memory mapped, for people to look at.
struct LiveTensor {
    const char* type;  // lives as long as the process
    uint64_t bytes;    // of the mapping
    int64_t mappedAt;  // nanoseconds, on MonotonicNow()'s clock
    int32_t pid;       // of the client whose call mapped it
};

inline LiveList<LiveTensor> liveTensors;

}  // namespace orva::hidl
