/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What happens below the interfaces: connections, and messages that do not come to an end.

#include <dirent.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include <android-base/cmsg.h>
#include <orva_platform/Runtime.h>

#include "Attack.h"
#include "Processes.h"
#include "attacks/Attacks.h"
#include "attacks/Connections.h"
#include "socket/wire/Wire.h"

namespace orva::attack {

using android::base::unique_fd;
using namespace android::hardware::socket;

namespace {

// Connected to a service's socket; the services' names are their files'.
unique_fd connectTo(const std::string& service) {
    sockaddr_un address = {AF_UNIX, {}};
    const std::string path = orva_platform::serviceDirectory() + "/" + service;
    if (path.size() >= sizeof address.sun_path) {
        throw Unavailable("the folder's name is too long");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    unique_fd end(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (connect(end.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        end.reset();
    }
    return end;
}

std::vector<unique_fd> connectMany(size_t count) {
    const rlimit most = {static_cast<rlim_t>(count + 200), static_cast<rlim_t>(count + 200)};
    setrlimit(RLIMIT_NOFILE, &most);
    DIR* const folder = opendir(orva_platform::serviceDirectory().c_str());
    if (folder == nullptr) {
        throw Unavailable("there is no host");
    }
    std::vector<std::string> services;
    while (const dirent* entry = readdir(folder)) {
        if (std::strchr(entry->d_name, '@') != nullptr) {
            services.emplace_back(entry->d_name);
        }
    }
    closedir(folder);
    std::vector<unique_fd> ends;
    for (size_t i = 0; i < count && !services.empty(); ++i) {
        ends.push_back(connectTo(services[i % services.size()]));
    }
    return ends;
}

}  // namespace

Connection::Connection() : end_(std::move(connectMany(1).at(0))) {
    MessageHeader welcome;
    if (recv(end_.get(), &welcome, sizeof welcome, 0) != sizeof welcome) {
        throw Unavailable("the host does not say what it serves");
    }
    target_ = welcome.target;
}

void Connection::give(const Channel& channel) const {
    const MessageHeader header = {kMagic, MessageKind::kOpenChannel, 0, 0, 0, 0, 1, 0, 0, 0};
    if (android::base::SendFileDescriptors(end_.get(), &header, sizeof header,
                                           channel.theirs.get()) != sizeof header) {
        throw Unavailable("the host takes no channel");
    }
}

void Channel::sendHalf(uint64_t target) const {
    // Says that more than a packet's worth is to come, which never does.
    MessageHeader half = {kMagic, MessageKind::kCall, target, 1, 0, 0, 0, 0, 0, 0};
    half.buffersSize = 2 * kPacketSize;
    std::string packet(kPacketSize, '\0');
    std::memcpy(packet.data(), &half, sizeof half);
    send(ours.get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

Channel::Channel() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    ours.reset(ends[0]);
    theirs.reset(ends[1]);
}

void manyConnections(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const auto ends = connectMany(1000);
        Processes::ready();
        stay();
    });
    client.awaitReady();
    std::this_thread::sleep_for(length);
}

void halfMessages(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Connection connection;
        std::vector<Channel> channels(60);
        for (Channel& channel : channels) {
            connection.give(channel);
            channel.theirs.reset();
            channel.sendHalf(connection.target());
        }
        Processes::ready();
        stay();
    });
    client.awaitReady();
    std::this_thread::sleep_for(length);
}

}  // namespace orva::attack
