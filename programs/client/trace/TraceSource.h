/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include <android-base/unique_fd.h>
#include <nlohmann/json_fwd.hpp>

namespace orva::client {

// What a host says of the calls that it serves, line by line, for as long as this lives; or its
// answer to a question. Used by one thread at a time.
class TraceSource {
public:
    // The request is a list of clients, empty for all, or a question. Throws std::runtime_error
    // when the host will not say anything.
    TraceSource(pid_t host, const nlohmann::json& request);

    // The first line, waited for as setTimeLimit() says. Throws std::runtime_error when the host
    // does not answer, or refuses.
    std::string first();
    // The next line, if one comes within the time. Nothing, and hasEnded(), when the host has gone.
    std::optional<std::string> next(std::chrono::milliseconds time);
    bool hasEnded() const { return ended_; }

private:
    const pid_t host_;
    android::base::unique_fd socket_;
    std::string read_;
    size_t begin_ = 0;
    bool ended_ = false;
};

}  // namespace orva::client
