/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstddef>
#include <future>
#include <string>
#include <utility>

#include "client/report/Latency.h"

namespace orva::client {

// A bar on stderr for work that takes long, when that is a terminal. Gone when the work is done.
class Progress {
public:
    Progress(std::string what, size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(size_t done);
    // For work that does not say how far it is: shows only that it goes on, and for how long.
    void goOn();

private:
    // Whether it is time to draw, which is then noted.
    bool isDue();

    const std::string what_;
    const size_t total_;
    const bool terminal_;
    const Stopwatch sinceBegin_;
    std::chrono::nanoseconds drawnAt_{0};
    bool drawn_ = false;
};

// Does work that does not say how far it is on a thread of its own, and shows meanwhile that it
// goes on. Returns or throws what the work does.
template <typename Work>
auto withProgress(std::string what, Work work) {
    auto working = std::async(std::launch::async, std::move(work));
    Progress progress(std::move(what), 0);
    while (working.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
        progress.goOn();
    }
    return working.get();
}

}  // namespace orva::client
