/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace orva_test {

constexpr std::chrono::seconds kWatchdog{20};

// Waits for something to become true that nobody can be told of, such as a count in another
// process. False when the watchdog is faster.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds watchdog = kWatchdog) {
    const auto deadline = std::chrono::steady_clock::now() + watchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace orva_test
