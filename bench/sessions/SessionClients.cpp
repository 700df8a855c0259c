/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "sessions/SessionClients.h"

#include <memory>
#include <vector>

#include <orva_platform/Runtime.h>

#include "Payload.h"
#include "request/BenchNode.h"
#include "request/BenchSession.h"

namespace orva_bench {

using android::sp;
using orva::hidl::IAIService_hidl;

namespace {

sp<IAIService_hidl> findService(const std::string& directory) {
    orva_platform::setServiceDirectory(directory);
    return IAIService_hidl::getService();
}

}  // namespace

int runIdleClient(const Control& control, const std::string& directory, size_t sessions) {
    const sp<IAIService_hidl> service = findService(directory);
    bool ok = service != nullptr;
    std::vector<std::unique_ptr<AiSession>> open;
    for (size_t i = 0; i < sessions && ok; ++i) {
        open.push_back(std::make_unique<AiSession>(service, static_cast<int32_t>(i) + 1));
        ok = open.back()->open(kPooledNode);
    }
    control.send(Ready{ok});
    Ready never;
    control.receive(&never);
    return ok ? 0 : 1;
}

int runCyclingClient(const Control& control, const std::string& directory) {
    const sp<IAIService_hidl> service = findService(directory);
    if (service == nullptr) {
        control.send(Ready{false});
        return 1;
    }
    AiSession session(service, 1);
    const bool ok = session.prepare(kPictureSize);
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    return obeyRoundOrders(control, [&] {
        const bool done = session.open(kPooledNode) && session.request();
        session.close();
        return done;
    });
}

int runDoomedClient(const Control& control, const std::string& directory) {
    const sp<IAIService_hidl> service = findService(directory);
    if (service == nullptr) {
        control.send(Ready{false});
        return 1;
    }
    AiSession session(service, 1);
    const bool ok = session.open(kPooledNode) && session.prepare(kPictureSize) && session.request();
    control.send(Ready{ok});
    while (session.request()) {
    }
    return 1;
}

}  // namespace orva_bench
