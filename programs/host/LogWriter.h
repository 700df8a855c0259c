/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace orva::host {

// A text of somebody else's as it may stand in a log: what is not a printable ASCII character
// becomes \n, \t, or its bytes as \x1b. So nobody begins a line of his own, hides one, or tells a
// terminal what to do.
std::string escaped(const char* text);

// Writes log lines, and of each client process only so many; where lines are left out, the log says
// how many. May be used from any thread.
class LogWriter {
public:
    using Clock = std::chrono::steady_clock;

    // `linesEach` is how many lines a minute each process may cause, after as many that it may
    // cause at once; 0 is without a bound.
    LogWriter(int file, size_t linesEach, std::function<Clock::time_point()> now = Clock::now)
            : file_(file), linesEach_(linesEach), now_(std::move(now)) {}

    // A line that was caused by a client's process, or with 0 by none.
    void write(pid_t client, int priority, const char* tag, const char* message);

    // The process has gone: says how many of its lines were left out last.
    void forget(pid_t client);

private:
    // Lines that a process may cause still, and those that it may not have.
    struct Allowance {
        double lines = 0;
        Clock::time_point counted;
        size_t leftOut = 0;
    };
    enum class Turn { kWrite, kLeaveOut, kLeaveOutFirst };

    Turn take(pid_t client, size_t* leftOut);
    void put(int priority, const std::string& tag, const std::string& message) const;
    void putLeftOut(pid_t client, size_t count) const;

    const int file_;
    const size_t linesEach_;
    const std::function<Clock::time_point()> now_;
    std::mutex mutex_;
    std::map<pid_t, Allowance> allowances_;
};

}  // namespace orva::host
