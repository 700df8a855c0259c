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

#include <cstring>
#include <thread>

#include <orva_platform/Runtime.h>

#include "Attack.h"
#include "Processes.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"

namespace orva::attack {

using android::base::unique_fd;

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
    const rlimit most = {static_cast<rlim_t>(count + 100), static_cast<rlim_t>(count + 100)};
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
        // A call's header as it travels, which says that a packet's worth and more is to come.
        struct {
            uint32_t magic = 0x4f525631, kind = 1;
            uint64_t target = 0;
            uint32_t code = 1, flags = 0;
            int32_t status = 0;
            uint32_t descriptors = 0, dataSize = 100000, objectCount = 0;
            uint64_t buffersSize = 0;
        } header;
        static_assert(sizeof header == 48);
        std::string packet(16 * 1024, '\0');
        std::memcpy(packet.data(), &header, sizeof header);
        const auto ends = connectMany(60);
        for (const unique_fd& end : ends) {
            send(end.get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        Processes::ready();
        stay();
    });
    client.awaitReady();
    std::this_thread::sleep_for(length);
}

}  // namespace orva::attack
