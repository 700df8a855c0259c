/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Progress.h"

#include <cstdio>
#include <utility>

#include <unistd.h>

namespace orva::client {

namespace {

// What is done sooner needs no bar; and no eye follows more than ten a second.
constexpr std::chrono::milliseconds kPatience(300);
constexpr std::chrono::milliseconds kInterval(100);
constexpr size_t kCells = 30;

}  // namespace

Progress::Progress(std::string what, size_t total)
        : mWhat(std::move(what)), mTotal(total), mTerminal(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (mDrawn) {
        fputs("\r\033[K", stderr);
    }
}

bool Progress::isDue() {
    const std::chrono::nanoseconds now = mSinceBegin.elapsed();
    if (!mTerminal || now < kPatience || now - mDrawnAt < kInterval) {
        return false;
    }
    mDrawnAt = now;
    mDrawn = true;
    return true;
}

void Progress::update(size_t done) {
    if (mTotal == 0 || !isDue()) {
        return;
    }
    const size_t cells = kCells * done / mTotal;
    fprintf(stderr, "\r%s [%s%s] %zu/%zu\033[K", mWhat.c_str(), std::string(cells, '#').c_str(),
            std::string(kCells - cells, '.').c_str(), done, mTotal);
    fflush(stderr);
}

void Progress::goOn() {
    if (isDue()) {
        const auto seconds = std::chrono::duration<double>(mDrawnAt).count();
        // One cell that goes round.
        const auto cell = static_cast<size_t>(seconds * 10) % kCells;
        fprintf(stderr, "\r%s [%s#%s] %.1f s\033[K", mWhat.c_str(), std::string(cell, '.').c_str(),
                std::string(kCells - 1 - cell, '.').c_str(), seconds);
        fflush(stderr);
    }
}

}  // namespace orva::client
