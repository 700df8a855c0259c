/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orva::client {

namespace {

// What is done sooner needs no bar; and no eye follows more than ten a second.
constexpr std::chrono::milliseconds kPatience(300);
constexpr std::chrono::milliseconds kInterval(100);
constexpr size_t kCells = 30;

// Over the last one. What does not fit is cut: a terminal would go on in a line that stays.
void draw(std::string line) {
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        line.resize(std::min<size_t>(line.size(), size.ws_col - 1));
    }
    fprintf(stderr, "\r%s\033[K", line.c_str());
    fflush(stderr);
}

}  // namespace

Progress::Progress(std::string what, size_t total)
        : what_(std::move(what)), total_(total), terminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (drawn_) {
        fputs("\r\033[K", stderr);
    }
}

bool Progress::isDue() {
    const std::chrono::nanoseconds now = sinceBegin_.elapsed();
    if (!terminal_ || now < kPatience || now - drawnAt_ < kInterval) {
        return false;
    }
    drawnAt_ = now;
    drawn_ = true;
    return true;
}

void Progress::update(size_t done) {
    if (total_ == 0 || !isDue()) {
        return;
    }
    const size_t cells = kCells * std::min(done, total_) / total_;
    draw(what_ + " [" + std::string(cells, '#') + std::string(kCells - cells, '.') + "] " +
         std::to_string(done) + "/" + std::to_string(total_));
}

void Progress::goOn() {
    if (isDue()) {
        const auto seconds = std::chrono::duration<double>(drawnAt_).count();
        // One cell that goes round.
        std::string cells(kCells, '.');
        cells[static_cast<size_t>(seconds * 10) % kCells] = '#';
        char time[32];
        snprintf(time, sizeof time, "%.1f s", seconds);
        draw(what_ + " [" + cells + "] " + time);
    }
}

}  // namespace orva::client
