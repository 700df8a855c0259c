/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/LineReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace orva::test {

using android::Mutex;
using Clock = std::chrono::steady_clock;

LineReader::LineReader(android::base::unique_fd pipe)
        : mPipe(std::move(pipe)), mThread([this] { read(); }) {}

LineReader::~LineReader() {
    mThread.join();
}

void LineReader::read() {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(fdopen(mPipe.release(), "r"), fclose);
    char* line = nullptr;
    size_t room = 0;
    for (ssize_t size; (size = getline(&line, &room, pipe.get())) >= 0;) {
        size -= line[size - 1] == '\n' ? 1 : 0;
        Mutex::Autolock lock(mLock);
        mLines.emplace_back(line, static_cast<size_t>(size));
        mChanged.broadcast();
    }
    free(line);
    Mutex::Autolock lock(mLock);
    mEnded = true;
    mChanged.broadcast();
}

bool LineReader::waitForMore(Clock::time_point deadline) {
    const auto left = std::chrono::nanoseconds(deadline - Clock::now()).count();
    return !mEnded && left > 0 && mChanged.waitRelative(mLock, left) == android::NO_ERROR;
}

std::optional<std::string> LineReader::next() {
    const auto deadline = Clock::now() + kWatchdog;
    Mutex::Autolock lock(mLock);
    while (mTaken == mLines.size()) {
        if (!waitForMore(deadline)) {
            return std::nullopt;
        }
    }
    return mLines[mTaken++];
}

bool LineReader::await(const std::string& text, size_t times) {
    const auto deadline = Clock::now() + kWatchdog;
    Mutex::Autolock lock(mLock);
    while (countLocked(text) < times) {
        if (!waitForMore(deadline)) {
            return false;
        }
    }
    return true;
}

size_t LineReader::count(const std::string& text) {
    Mutex::Autolock lock(mLock);
    return countLocked(text);
}

size_t LineReader::countLocked(const std::string& text) {
    return static_cast<size_t>(std::count_if(
            mLines.begin(), mLines.end(),
            [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

std::string LineReader::text() {
    std::string all;
    Mutex::Autolock lock(mLock);
    for (const std::string& line : mLines) {
        all += line + "\n";
    }
    return all;
}

}  // namespace orva::test
