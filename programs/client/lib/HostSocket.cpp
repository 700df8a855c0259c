/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/HostSocket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <orva_platform/Runtime.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

namespace orva::client {

using android::base::unique_fd;

namespace {

// A failure has been told of already but for its reason.
constexpr timeval kPatience = {2, 0};

}  // namespace

unique_fd askHost(pid_t host, const std::string& request) {
    const auto fail = [host](const std::string& why) {
        throw std::runtime_error("cannot ask process " + std::to_string(host) + ": " + why);
    };
    // By a short name: the folder's may be longer than a socket's can be.
    const std::string folder = orva_platform::serviceDirectory();
    const unique_fd opened(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    unique_fd asking(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const std::string path =
            "/proc/self/fd/" + std::to_string(opened.get()) + "/trace-" + std::to_string(host);
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (asking < 0 || opened < 0 ||
        connect(asking, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail(errno == ENOENT ? "it tells nothing but what its services do" : std::strerror(errno));
    }
    const std::string line = request + "\n";
    // Who is refused may have been told already, and reads why.
    if (send(asking, line.data(), line.size(), MSG_NOSIGNAL) < 0 && errno != EPIPE) {
        fail(std::strerror(errno));
    }
    return asking;
}

std::vector<std::string> frameworkErrors(pid_t host) {
    const nlohmann::json question = "errors " + std::to_string(getpid());
    const unique_fd asking = askHost(host, question.dump());
    setsockopt(asking, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    std::string answer;
    while (answer.find('\n') == std::string::npos) {
        char bytes[4096];
        const ssize_t size = recv(asking, bytes, sizeof bytes, 0);
        if (size <= 0) {
            throw std::runtime_error("process " + std::to_string(host) + " does not say");
        }
        answer.append(bytes, static_cast<size_t>(size));
    }
    return nlohmann::json::parse(answer).at("errors");
}

}  // namespace orva::client
