/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <deque>
#include <map>
#include <mutex>
#include <string>

namespace orva::host {

// What the framework said last of the work of each client's process that failed: a few lines each,
// for clients who ask why. May be used from any thread.
class LatestErrors {
public:
    // A message of the framework's log, with the place that it comes from.
    void note(pid_t client, const std::string& message);
    // The process has gone.
    void forget(pid_t client);
    // Oldest first, without the places.
    std::deque<std::string> of(pid_t client) const;

private:
    mutable std::mutex mutex_;
    std::map<pid_t, std::deque<std::string>> errors_;
};

}  // namespace orva::host
