/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <chrono>

namespace orva::client {

// Has the first Ctrl-C, or SIGTERM, set interrupted() and the second one end the program. What is
// said below of the one is true of the other.
void takeInterrupt();
const std::atomic<bool>& interrupted();

// False at once when Ctrl-C comes.
bool sleepUnlessInterrupted(std::chrono::milliseconds time);

// Whether a descriptor has something to read, or has come to its end, within the time. False at
// once when Ctrl-C comes.
bool awaitReadable(int file, std::chrono::milliseconds time);

}  // namespace orva::client
