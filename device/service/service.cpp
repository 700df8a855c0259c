/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The process that serves both interfaces over hwbinder, in all their versions.
#define LOG_TAG "orva-service"

#include <cstddef>

#include <hidl/HidlTransportSupport.h>
#include <log/log.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>
#include <vendor/selkat/hardware/ai/2.1/IAIService.h>
#include <vendor/selkat/hardware/ai/2.1/IModelManagerService.h>

namespace {

using vendor::selkat::hardware::ai::V2_1::IAIService;
using vendor::selkat::hardware::ai::V2_1::IModelManagerService;

// Calls served at once. Callbacks into clients are made by the framework's threads, not by these.
constexpr size_t kThreads = 8;

// Registers what the interface's -impl library makes, under every version that it has.
template <class Service>
bool serve() {
    const android::sp<Service> service = Service::getService("default", true /* getStub */);
    if (service == nullptr) {
        ALOGE("nothing in /vendor/lib*/hw implements %s", Service::descriptor);
        return false;
    }
    const android::status_t status = service->registerAsService();
    if (status != android::OK) {
        ALOGE("cannot register %s: %d; is it in the manifest, and in hwservice_contexts?",
              Service::descriptor, status);
        return false;
    }
    return true;
}

}  // namespace

int main() {
    android::hardware::configureRpcThreadpool(kThreads, true /* callerWillJoin */);
    if (!serve<IAIService>() || !serve<IModelManagerService>()) {
        return 1;
    }
    android::hardware::joinRpcThreadpool();
    return 0;
}
