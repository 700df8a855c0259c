/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/ServiceManagement.h>

#include <dlfcn.h>

#include <log/log.h>

#include "hidl/DirectoryServiceManager.h"

namespace android::hardware {

using hidl::base::V1_0::IBase;
using hidl::manager::V1_0::IServiceManager;

sp<IServiceManager> defaultServiceManager() {
    // Never destroyed, since objects may ask for it while the process ends.
    static const auto* const manager = new sp<IServiceManager>(new DirectoryServiceManager());
    return *manager;
}

namespace details {

namespace {

// "vendor.selkat.hardware.ai@2.1::IAIService" is made by HIDL_FETCH_IAIService.
sp<IBase> makeStub(const std::string& descriptor, const std::string& instance) {
    const std::string symbol = "HIDL_FETCH_" + descriptor.substr(descriptor.rfind(':') + 1);
    using Fetch = IBase* (*)(const char*);
    const auto fetch = reinterpret_cast<Fetch>(dlsym(RTLD_DEFAULT, symbol.c_str()));
    if (fetch == nullptr) {
        ALOGE("No stub of %s/%s: no library of this process has %s", descriptor.c_str(),
              instance.c_str(), symbol.c_str());
        return nullptr;
    }
    return fetch(instance.c_str());
}

}  // namespace

sp<IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance,
                                bool /*retry*/, bool getStub) {
    if (getStub) {
        return makeStub(descriptor, instance);
    }
    return defaultServiceManager()->get(descriptor, instance).withDefault(nullptr);
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) {
        return UNEXPECTED_NULL;
    }
    return defaultServiceManager()->add(name, service).withDefault(false) ? OK : UNKNOWN_ERROR;
}

}  // namespace details

}  // namespace android::hardware
