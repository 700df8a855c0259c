/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>

namespace android::hardware::socket {

// What the transport holds, counted where it is made and given up.
struct RuntimeCounts {
    std::atomic<size_t> peers{0};
    std::atomic<size_t> channels{0};
    std::atomic<size_t> exports{0};
    std::atomic<size_t> proxies{0};
};

// Never destroyed: what is counted may outlive the program's static objects.
inline RuntimeCounts& runtimeCounts() {
    static RuntimeCounts* const counts = new RuntimeCounts;
    return *counts;
}

}  // namespace android::hardware::socket
