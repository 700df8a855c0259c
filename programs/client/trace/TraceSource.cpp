/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/TraceSource.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <orva_platform/Runtime.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "client/io/Interrupt.h"
#include "client/lib/TimeLimit.h"

namespace orva::client {

using android::base::unique_fd;

TraceSource::TraceSource(pid_t host, const nlohmann::json& request)
        : host_(host), socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto fail = [host](const std::string& why) -> void {
        throw std::runtime_error("cannot ask process " + std::to_string(host) + ": " + why);
    };
    // By a short name: the folder's may be longer than a socket's can be.
    const std::string folder = orva_platform::serviceDirectory();
    const unique_fd opened(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string path =
            "/proc/self/fd/" + std::to_string(opened.get()) + "/trace-" + std::to_string(host);
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (socket_ < 0 || opened < 0 ||
        connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail(errno == ENOENT ? "it tells nothing but what its services do" : std::strerror(errno));
    }
    const std::string line = request.dump() + "\n";
    // Who is refused may have been told already, and reads why.
    if (send(socket_, line.data(), line.size(), MSG_NOSIGNAL) < 0 && errno != EPIPE) {
        fail(std::strerror(errno));
    }
}

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
