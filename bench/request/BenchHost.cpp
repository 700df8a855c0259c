/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchHost.h"

#include <dlfcn.h>

#include <cstdio>

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/ProcessState.h>
#include <orva/reference/Settings.h>
#include <orva_platform/Runtime.h>

#include "common/Interfaces.h"
#include "request/BenchManager.h"
#include "request/BenchNode.h"
#include "request/HostState.h"

namespace orva_bench {

namespace {

constexpr size_t kMostClients = 10'000;

template <class Interface>
bool serveOne() {
    const auto service = Interface::getService("default", true);
    return service != nullptr && service->registerAsService() == android::OK;
}

bool serve(Managers managers) {
    // The library stays loaded: its services live as long as the process.
    if (dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        fprintf(stderr, "orva-bench: %s\n", dlerror());
        return false;
    }
    registerBenchNodes();
    if (managers == Managers::kIdle) {
        useBenchManagers();
    }
    orva::reference::SetClientLimit(kMostClients);
    android::hardware::configureRpcThreadpool(kHostThreads, false);
    if (!serveOne<orva::hidl::IAIService_hidl>() ||
        !serveOne<orva::hidl::IModelManagerService_hidl>()) {
        return false;
    }
    android::hardware::ProcessState::self()->startThreadPool();
    return true;
}

}  // namespace

int runBenchHost(const Control& control, const std::string& directory, Managers managers) {
    orva_platform::setServiceDirectory(directory);
    const bool ok = serve(managers);
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    // The pool's threads serve; this one only tells what they hold.
    StateOrder order;
    while (control.receive(&order) && control.send(HostState::ofThisProcess())) {
    }
    return 0;
}

}  // namespace orva_bench
