/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <android-base/unique_fd.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>

#include "support/Eventually.h"

namespace orva::test {

// Keeps every line that another process writes into a pipe, so that it never waits for its reader.
// Every operation may be called from any thread.
class LineReader {
public:
    explicit LineReader(android::base::unique_fd pipe);
    // Waits for the pipe's end, so whoever writes into it must have gone.
    ~LineReader();

    // The first line not taken yet; empty at the pipe's end, and when the watchdog barks.
    std::optional<std::string> next();
    // Waits until that many lines contain the text. False at the pipe's end and when the watchdog
    // barks.
    bool await(const std::string& text, size_t times = 1);
    // How many of the lines read so far contain the text.
    size_t count(const std::string& text);
    // All that was read so far.
    std::string text();

private:
    void read();
    bool waitForMore(std::chrono::steady_clock::time_point deadline) REQUIRES(mLock);
    size_t countLocked(const std::string& text) REQUIRES(mLock);

    android::base::unique_fd mPipe;  // until the thread has it
    android::Mutex mLock;
    android::Condition mChanged;
    std::vector<std::string> mLines GUARDED_BY(mLock);
    size_t mTaken GUARDED_BY(mLock) = 0;
    bool mEnded GUARDED_BY(mLock) = false;
    std::thread mThread;
};

}  // namespace orva::test
