/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The state dump of this service.

#include "aiservice/AIServiceHIDL.h"

namespace orva::hidl {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

std::optional<std::vector<SessionState>> AIServiceHIDL::SessionStates() {
    if (!serviceMutex.TryLockFor(kDumpLockMilliseconds)) {
        return std::nullopt;
    }
    std::vector<SessionState> sessions = StatesOf(sessionActivities);
    serviceMutex.Unlock();
    if (listenerMutex.TryLockFor(kDumpLockMilliseconds)) {
        AddListeners(clientListeners, sessions);
        listenerMutex.Unlock();
    }
    return sessions;
}

Return<void> AIServiceHIDL::debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) {
    DumpState({"IAIService", activity, SessionStates()}, handle, options);
    return Void();
}

}  // namespace orva::hidl
