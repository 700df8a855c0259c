/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The other process of the transport's tests:
//
//   probe_peer serve INSTANCE THREADS [REPLY-LIMIT-MS]
//       serves a probe until SIGTERM; SIGUSR1 opens its gate
//   probe_peer hold INSTANCE
//       has the server hold a probe of its own, and note its pid when that dies
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <string>
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

int hold(const std::string& instance) {
    const sp<IProbe> server = IProbe::getService(instance);
    if (server == nullptr || !server->hold(new Probe).isOk() ||
        !server->watch(getpid()).withDefault(false)) {
        return 1;
    }
    ready();
    android::hardware::joinRpcThreadpool();
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const Words words(arguments, arguments + count);
    return words.at(1) == "serve" ? serve(words) : hold(words.at(2));
}
