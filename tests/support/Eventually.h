/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace orva::test {

// Nothing that a test waits for takes this long, not even under a sanitizer on a busy machine.
constexpr std::chrono::seconds kWatchdog{60};

// Waits for something to become true that nobody can be told of, such as a count in another
// process. False when the watchdog barks.
inline bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kWatchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace orva::test
