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

RuntimeCounts& runtimeCounts();

}  // namespace android::hardware::socket
