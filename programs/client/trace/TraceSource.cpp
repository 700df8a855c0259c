/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/TraceSource.h"

#include <stdexcept>

#include <sys/socket.h>
#include <nlohmann/json.hpp>

#include "client/io/Interrupt.h"
#include "client/lib/HostSocket.h"
#include "client/lib/TimeLimit.h"

namespace orva::client {

TraceSource::TraceSource(pid_t host, const nlohmann::json& request)
        : host_(host), socket_(askHost(host, request.dump())) {}

std::string TraceSource::first() {
    const auto limit = timeLimit().count() > 0 ? timeLimit() : std::chrono::milliseconds::max() / 4;
    if (const auto line = next(limit)) {
        return *line;
    }
    throw std::runtime_error(
            "process " + std::to_string(host_) +
            (hasEnded() ? " does not say" : " " + tooLong("did not answer", limit)));
}

std::optional<std::string> TraceSource::next(std::chrono::milliseconds time) {
    for (;;) {
        const size_t end = read_.find('\n', begin_);
        if (end != std::string::npos) {
            std::string line = read_.substr(begin_, end - begin_);
            begin_ = end + 1;
            return line;
        }
        read_.erase(0, begin_);
        begin_ = 0;
        if (!awaitReadable(socket_, time)) {
            return std::nullopt;
        }
        char bytes[size_t{64} << 10];
        const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
        if (size <= 0) {
            ended_ = true;
            return std::nullopt;
        }
        read_.append(bytes, static_cast<size_t>(size));
    }
}

}  // namespace orva::client
