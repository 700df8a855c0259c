/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The other process of the transport's tests:
//
//   probe_peer serve INSTANCE THREADS [REPLY-LIMIT-MS]
//       serves a probe until SIGTERM; SIGUSR1 opens its gate
//   probe_peer hold INSTANCE [watch]
//       has the server hold a probe of its own
//   probe_peer roam INSTANCE SEED
//       calls at random until it is killed
//   probe_peer call INSTANCE
//       has the server call what it holds, and prints how its own call fared
//   probe_peer connect FILE UID
//       connects to a socket as another user, and prints what happens
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"

using namespace orva_test;

namespace {

using Words = std::vector<std::string>;

void ready() {
    puts("ready");
    fflush(stdout);
}

int serve(const Words& words) {
    if (words.size() > 4) {
        orva_platform::setReplyLimit(std::chrono::milliseconds(std::stoi(words[4])));
    }
    android::hardware::configureRpcThreadpool(std::stoul(words[3]), true);
    signal(SIGTERM, [](int) { orva_platform::requestStop(); });
    signal(SIGUSR1, [](int) { Probe::openTheGate(); });
    const sp<Probe> probe = new Probe;
    if (probe->registerAsService(words[2]) != android::OK) {
        return 1;
    }
    ready();
    android::hardware::joinRpcThreadpool();
    orva_platform::stop();
    return 0;
}

int hold(const sp<IProbe>& server, bool watch) {
    if (!server->hold(new Probe).isOk() ||
        (watch && !server->watch(static_cast<uint64_t>(getpid())).withDefault(false))) {
        return 1;
    }
    ready();
    android::hardware::joinRpcThreadpool();
    return 0;
}

int roam(const sp<IProbe>& server, unsigned seed) {
    ready();
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] { callAtRandom(server, seed + i, [] { return true; }); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 0;
}

int call(const sp<IProbe>& server) {
    ready();
    const Return<int32_t> result = server->callHeld();
    puts(result.isOk() ? "answered" : result.isDeadObject() ? "dead" : "failed");
    return 0;
}

int connectAs(const std::string& file, uid_t user) {
    const int connection = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    file.copy(address.sun_path, sizeof address.sun_path - 1);
    if (setuid(user) != 0) {
        return 1;
    }
    ready();
    char byte;
    if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        puts(errno == EACCES ? "denied" : strerror(errno));
    } else {
        // Whom the server will not have, it closes without a word.
        puts(recv(connection, &byte, 1, 0) == 0 ? "closed" : "answered");
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const Words words(arguments, arguments + count);
    const std::string& role = words.at(1);
    if (role == "serve") {
        return serve(words);
    }
    if (role == "connect") {
        return connectAs(words.at(2), static_cast<uid_t>(std::stoul(words.at(3))));
    }
    const sp<IProbe> server = IProbe::getService(words.at(2));
    if (server == nullptr) {
        return 1;
    }
    if (role == "hold") {
        return hold(server, words.size() > 3);
    }
    return role == "roam" ? roam(server, static_cast<unsigned>(std::stoul(words.at(3))))
                          : call(server);
}
