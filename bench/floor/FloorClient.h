/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Payload.h"
#include "common/UniqueFd.h"
#include "driver/Control.h"

namespace orva_bench {

// A client of the floor's server at `path`, with one thread and regions that it makes once, whose
// pages exist, as after a client has written its data.
class FloorClient {
public:
    FloorClient(const std::string& path, const std::vector<size_t>& regionSizes);

    bool ok() const { return ok_; }

    // The status that a call is answered with; -1 when the server has gone.
    int64_t call(int64_t value) const;
    // The same, with all regions' descriptors.
    int64_t callWithRegions(int64_t value) const;
    // False unless it comes with so many descriptors, and well.
    bool awaitCompletion(size_t descriptors) const;

private:
    const orva::hidl::UniqueFd requests_;
    const orva::hidl::UniqueFd listener_;
    bool ok_;
    std::vector<orva::hidl::UniqueFd> regions_;
    std::vector<int> sent_;
};

// Does the load's work as it is ordered to.
int runFloorClient(const Control& control, const std::string& path, const Load& load);

}  // namespace orva_bench
