/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/ServiceManagement.h>

#include <dlfcn.h>

#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <log/log.h>

#include "hwbinder/Transport.h"

namespace android::hardware {

using hidl::base::V1_0::BnHwBase;
using hidl::base::V1_0::BpHwBase;
using hidl::base::V1_0::IBase;

sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager() {
    return nullptr;
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
    return fromBinder<IBase, BpHwBase, BnHwBase>(transport::getService(descriptor, instance));
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) {
        return UNEXPECTED_NULL;
    }
    const sp<IBinder> binder = toBinder(service);
    if (binder == nullptr) {
        ALOGE("No service %s: it cannot be called from outside", name.c_str());
        return UNKNOWN_ERROR;
    }
    std::vector<std::string> interfaces;
    const Return<void> told = service->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        for (const hidl_string& interface : chain) {
            if (interface != IBase::descriptor) {
                interfaces.push_back(interface);
            }
        }
    });
    if (!told.isOk()) {
        ALOGE("No service %s: it does not tell its interfaces: %s", name.c_str(),
              told.description().c_str());
        return UNKNOWN_ERROR;
    }
    return transport::addService(interfaces, name, binder) == OK ? OK : UNKNOWN_ERROR;
}

}  // namespace details

}  // namespace android::hardware
