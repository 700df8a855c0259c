/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>

namespace orva::client {

// What a host says of the calls that it serves, line by line, for as long as this lives. Used by
// one thread at a time.
class TraceSource {
public:
    // Of these clients, or of all when there are none. Throws std::runtime_error when the host will
    // not say anything.
    TraceSource(pid_t host, const std::vector<pid_t>& clients);

    // The next line, if one comes within the time. Nothing, and hasEnded(), when the host has gone.
    std::optional<std::string> next(std::chrono::milliseconds time);
    bool hasEnded() const { return ended_; }

private:
    android::base::unique_fd socket_;
    std::string read_;
    size_t begin_ = 0;
    bool ended_ = false;
};

}  // namespace orva::client
