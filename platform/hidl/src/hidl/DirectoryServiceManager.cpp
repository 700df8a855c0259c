/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include "hidl/DirectoryServiceManager.h"

#include <android/hidl/base/1.0/BpHwBase.h>
#include <log/log.h>

#include "hwbinder/Transport.h"

namespace android::hardware {

using hidl::base::V1_0::BnHwBase;
using hidl::base::V1_0::BpHwBase;
using hidl::base::V1_0::DebugInfo;

Return<sp<DirectoryServiceManager::IBase>> DirectoryServiceManager::get(const hidl_string& fqName,
                                                                        const hidl_string& name) {
    return fromBinder<IBase, BpHwBase, BnHwBase>(transport().getService(fqName, name));
}

Return<bool> DirectoryServiceManager::add(const hidl_string& name, const sp<IBase>& service) {
    const sp<IBinder> binder = toBinder(service);
    if (binder == nullptr) {
        ALOGE("No service %s: there is no object, or it cannot be called from outside",
              name.c_str());
        return false;
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
        return false;
    }
    return transport().addService(interfaces, name, binder) == OK;
}

Return<DirectoryServiceManager::Transport> DirectoryServiceManager::getTransport(
        const hidl_string& fqName, const hidl_string& name) {
    for (const auto& entry : transport().listServices()) {
        if (entry.interface == fqName && entry.instance == name) {
            return Transport::HWBINDER;
        }
    }
    return Transport::EMPTY;
}

Return<void> DirectoryServiceManager::list(list_cb report) {
    std::vector<hidl_string> names;
    for (const auto& entry : transport().listServices()) {
        names.emplace_back(entry.interface + "/" + entry.instance);
    }
    report(names);
    return Void();
}

Return<void> DirectoryServiceManager::listByInterface(const hidl_string& fqName,
                                                      listByInterface_cb report) {
    std::vector<hidl_string> names;
    for (const auto& entry : transport().listServices()) {
        if (entry.interface == fqName) {
            names.emplace_back(entry.instance);
        }
    }
    report(names);
    return Void();
}

Return<bool> DirectoryServiceManager::registerForNotifications(
        const hidl_string& fqName, const hidl_string& name,
        const sp<IServiceNotification>& /*callback*/) {
    ALOGE("Nobody will be told of %s/%s: services are found, not announced", fqName.c_str(),
          name.c_str());
    return false;
}

Return<void> DirectoryServiceManager::debugDump(debugDump_cb report) {
    std::vector<InstanceDebugInfo> dump;
    for (const auto& entry : transport().listServices()) {
        dump.push_back(
                {entry.interface, entry.instance, entry.pid, {}, DebugInfo::Architecture::UNKNOWN});
    }
    report(dump);
    return Void();
}

Return<void> DirectoryServiceManager::registerPassthroughClient(const hidl_string& /*fqName*/,
                                                                const hidl_string& /*name*/) {
    return Void();
}

}  // namespace android::hardware
