/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchClient.h"

#include <optional>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "request/BenchSession.h"
#include "request/ManagerSession.h"

namespace orva_bench {

namespace {

bool prepare(AiSession& session, const Load& load) {
    return session.prepare(load.inputSize, load.memory);
}

bool prepare(ManagerSession& session, const Load& load) {
    switch (load.work) {
    case Work::kSession:
        return session.prepareModel(load.inputSize);
    case Work::kBuild:
        return session.prepareBuild(load.inputSize);
    default:
        return session.prepare(load.inputSize, load.memory);
    }
}

bool work(AiSession& session, Work) {
    return session.request();
}

bool work(ManagerSession& session, Work work) {
    switch (work) {
    case Work::kBinding:
        return session.bindAndStart();
    case Work::kSession:
        return session.reopen();
    case Work::kBuild:
        return session.build();
    default:
        return session.request();
    }
}

template <class Session>
int runClient(const Control& control, const std::string& nodeType, const Load& load) {
    std::optional<int> polled;
    if (load.callbacks == Callbacks::kPolled) {
        polled = android::hardware::setupTransportPolling();
    }
    const auto service = Session::Service::getService();
    if (service == nullptr) {
        control.send(Ready{false});
        return 1;
    }
    Session session(service, 1, polled);
    const bool ok = session.open(nodeType) && prepare(session, load);
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    return obeyRoundOrders(control, [&] { return work(session, load.work); });
}

}  // namespace

int runBenchClient(const Control& control, const std::string& directory,
                   const std::string& nodeType, const Load& load) {
    orva_platform::setServiceDirectory(directory);
    return load.work == Work::kRequest ? runClient<AiSession>(control, nodeType, load)
                                       : runClient<ManagerSession>(control, nodeType, load);
}

}  // namespace orva_bench
