/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The other process of the transport's tests, until it is killed:
//
//   probe_peer INSTANCE THREADS [REPLY-LIMIT-MS [STAND-INS [MOST]]]
//                  lets a peer have MOST of each thing, half as many calls, and serves a probe, and
//                  another one as INSTANCE-too; with 0 threads, polls for calls
//   probe_peer     has the default service hold a probe of its own
#include <poll.h>

#include <cstdio>
#include <string>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"

using namespace orva_test;

int main(int count, char** words) {
    sp<IProbe> server, other;
    bool ready;
    int polled = -1;
    if (count > 2) {
        if (count > 3) {
            orva_platform::setReplyLimit(std::chrono::milliseconds(std::stoi(words[3])));
        }
        if (count > 4) {
            orva_platform::setStandIns(std::stoul(words[4]));
        }
        if (count > 5) {
            const size_t most = std::stoul(words[5]);
            orva_platform::setPeerLimits({most, most, most / 2, most, most, most / 2});
        }
        if (const size_t threads = std::stoul(words[2])) {
            android::hardware::configureRpcThreadpool(threads, true);
        } else {
            polled = android::hardware::setupTransportPolling();
        }
        server = new Probe;
        other = new Probe;
        ready = server->registerAsService(words[1]) == android::OK &&
                other->registerAsService(words[1] + std::string("-too")) == android::OK;
    } else {
        server = IProbe::getService();
        ready = server != nullptr && server->hold(new Probe).isOk();
    }
    puts(ready ? "ready" : "failed");
    fflush(stdout);
    pollfd entry = {polled, POLLIN, 0};
    while (polled >= 0 && poll(&entry, 1, -1) == 1 &&
           android::hardware::handleTransportPoll(polled) == android::OK) {
    }
    android::hardware::joinRpcThreadpool();
    return 0;
}
