/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The other process of the transport's tests:
//
//   probe_peer serve INSTANCE THREADS [REPLY-LIMIT-MS]   serves a probe until SIGTERM; SIGUSR1
//   opens
//                                                        its gate
//   probe_peer hold INSTANCE [watch]                     has the server hold a probe of its own
//   probe_peer roam INSTANCE SEED                        calls at random until it is killed
//   probe_peer call INSTANCE                             has the server call what it holds, and
//   prints
//                                                        how its own call fared
//   probe_peer connect FILE UID                          connects to a socket as another user, and
//                                                        prints what happens
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"

using namespace orva_test;

namespace {

void ready() {
    puts("ready");
    fflush(stdout);
}

int serve(int count, char** words) {
    if (count > 2) {
        orva_platform::setReplyLimit(std::chrono::milliseconds(atoi(words[2])));
    }
    android::hardware::configureRpcThreadpool(static_cast<size_t>(atoi(words[1])), true);
    signal(SIGTERM, [](int) { orva_platform::requestStop(); });
    signal(SIGUSR1, [](int) { Probe::openTheGate(); });
    const sp<Probe> probe = new Probe;
    if (probe->registerAsService(words[0]) != android::OK) {
        return 1;
    }
    ready();
    android::hardware::joinRpcThreadpool();
    orva_platform::stop();
    return 0;
}

int hold(int count, char** words) {
    const sp<IProbe> server = IProbe::getService(words[0]);
    if (server == nullptr || !server->hold(new Probe).isOk()) {
        return 1;
    }
    if (count > 1 && !server->watch(static_cast<uint64_t>(getpid())).withDefault(false)) {
        return 1;
    }
    ready();
    android::hardware::joinRpcThreadpool();
    return 0;
}

int roam(char** words) {
    const sp<IProbe> server = IProbe::getService(words[0]);
    if (server == nullptr) {
        return 1;
    }
    ready();
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] {
            std::minstd_rand random(static_cast<unsigned>(atoi(words[1])) + i);
            const sp<IProbe> local = new Probe;
            for (;;) {
                switch (random() % 4) {
                case 0:
                    server->hold(local).isOk();
                    break;
                case 1:
                    server->callHeld().isOk();
                    break;
                case 2:
                    server->nest(local, 5, [](int32_t, int32_t) {}).isOk();
                    break;
                default:
                    server->receive(nullDevices(2), {}, [](int32_t, bool) {}).isOk();
                    break;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 0;
}

int call(char** words) {
    const sp<IProbe> server = IProbe::getService(words[0]);
    if (server == nullptr) {
        return 1;
    }
    ready();
    const Return<int32_t> result = server->callHeld();
    puts(result.isOk() ? "answered" : result.isDeadObject() ? "dead" : "failed");
    return 0;
}

int connectAs(char** words) {
    const int connection = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, words[0], sizeof address.sun_path - 1);
    if (setuid(static_cast<uid_t>(atoi(words[1]))) != 0) {
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

int main(int count, char** words) {
    const std::string role = count > 1 ? words[1] : "";
    if (role == "serve" && count > 3) {
        return serve(count - 2, words + 2);
    }
    if (role == "hold" && count > 2) {
        return hold(count - 2, words + 2);
    }
    if (role == "roam" && count > 3) {
        return roam(words + 2);
    }
    if (role == "call" && count > 2) {
        return call(words + 2);
    }
    if (role == "connect" && count > 3) {
        return connectAs(words + 2);
    }
    return 2;
}
