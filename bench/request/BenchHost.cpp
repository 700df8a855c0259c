/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchHost.h"

#include <dlfcn.h>

#include <cstdio>

#include <hidl/HidlTransportSupport.h>
#include <orva_platform/Runtime.h>

#include "common/Interfaces.h"
#include "request/BenchNode.h"

namespace orva_bench {

using orva::hidl::IAIService_hidl;

namespace {

// As many as the service host has.
constexpr size_t kThreads = 4;

bool serve() {
    // The library stays loaded: its services live as long as the process.
    if (dlopen("liborva_hidl_server.so", RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        fprintf(stderr, "orva-bench: %s\n", dlerror());
        return false;
    }
    registerBenchNodes();
    android::hardware::configureRpcThreadpool(kThreads, true);
    const auto service = IAIService_hidl::getService("default", true);
    return service != nullptr && service->registerAsService() == android::OK;
}

}  // namespace

int runBenchHost(const Control& control, const std::string& directory) {
    orva_platform::setServiceDirectory(directory);
    const bool ok = serve();
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    android::hardware::joinRpcThreadpool();
    return 0;
}

}  // namespace orva_bench
