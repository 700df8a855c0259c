/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>

#include <hidl/HidlTransportSupport.h>

namespace android::hardware {

// The service manager, in the process that asks: there is no daemon, the directory of sockets is
// all that is shared. May be called from any thread.
class DirectoryServiceManager : public hidl::manager::V1_0::IServiceManager {
public:
    using IBase = hidl::base::V1_0::IBase;
    using IServiceNotification = hidl::manager::V1_0::IServiceNotification;

    // Null, with a logged reason, for what nobody serves.
    Return<sp<IBase>> get(const hidl_string& fqName, const hidl_string& name) override;

    // Registers under each interface of the service's chain but IBase; false, with a logged reason,
    // where one of them is served already, or the service is null or cannot be called from outside.
    Return<bool> add(const hidl_string& name, const sp<IBase>& service) override;

    // HWBINDER for what is served, whatever carries it; EMPTY otherwise.
    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string& name) override;

    Return<void> list(list_cb report) override;
    Return<void> listByInterface(const hidl_string& fqName, listByInterface_cb report) override;

    // Always false: a folder tells nobody of what comes.
    Return<bool> registerForNotifications(const hidl_string& fqName, const hidl_string& name,
                                          const sp<IServiceNotification>& callback) override;

    // Without the clients' pids and the architecture, which only the serving processes know.
    Return<void> debugDump(debugDump_cb report) override;

    Return<void> registerPassthroughClient(const hidl_string& fqName,
                                           const hidl_string& name) override;
};

}  // namespace android::hardware
