/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Looking after the service: what processes that are gone have left, and its state for people.

#include <optional>
#include <set>
#include <string>
#include <vector>

#include <orva/AIServiceConnectManager.h>

#include "common/ClientProcess.h"
#include "debug/StateDump.h"
#include "modelmanager/ModelManagerServiceHIDL.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

void ModelManagerServiceHIDL::RemoveWhatDeadClientsLeft() {
    const ClientProcesses ended = ClientProcess::Ended();
    if (ended.empty()) {
        return;
    }
    std::vector<std::string> sessions;
    {
        MutexLock lock(managerMutex);
        sessions = KeysOf(ended, modelManagers);
    }
    for (const std::string& serviceId : sessions) {
        RemoveService(serviceId);
    }
    // Those without a session. Released after the lock.
    std::vector<sp<IModelManagerListener>> listeners;
    CallbackLock lock(listenerMutex);
    for (const std::string& serviceId : KeysOf(ended, deathRecipients)) {
        listeners.push_back(ForgetClient(serviceId, clientListeners, deathRecipients));
        AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
    }
}

Return<void> ModelManagerServiceHIDL::ping() {
    RemoveWhatDeadClientsLeft();
    return Void();
}

Return<void> ModelManagerServiceHIDL::debug(const hidl_handle& handle,
                                            const hidl_vec<hidl_string>& options) {
    std::optional<std::set<std::string>> listeners;
    if (listenerMutex.TryLockFor(kDumpLockMilliseconds)) {
        listeners = IdsOf(clientListeners);
        listenerMutex.Unlock();
        // A dump waits for nobody, so it cleans up only where it need not.
        if (managerMutex.TryLockFor(kDumpLockMilliseconds)) {
            managerMutex.Unlock();
            RemoveWhatDeadClientsLeft();
        }
    }
    DumpState(activity_, listeners, handle, options);
    return Void();
}

}  // namespace orva::hidl
