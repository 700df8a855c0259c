/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The other process of the transport's tests, until it is killed:
//
//   probe_peer INSTANCE THREADS [REPLY-LIMIT-MS]   serves a probe
//   probe_peer                                     has the default service hold a probe of its own
#include <cstdio>
#include <string>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"

using namespace orva_test;

int main(int count, char** words) {
    sp<IProbe> server;
    bool ready;
    if (count > 2) {
        if (count > 3) {
            orva_platform::setReplyLimit(std::chrono::milliseconds(std::stoi(words[3])));
        }
        android::hardware::configureRpcThreadpool(std::stoul(words[2]), true);
        server = new Probe;
        ready = server->registerAsService(words[1]) == android::OK;
    } else {
        server = IProbe::getService();
        ready = server != nullptr && server->hold(new Probe).isOk();
    }
    puts(ready ? "ready" : "failed");
    fflush(stdout);
    android::hardware::joinRpcThreadpool();
    return 0;
}
