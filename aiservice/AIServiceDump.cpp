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
    std::vector<SessionState> sessions;
    for (const auto& [id, sessionActivity] : sessionActivities) {
        sessions.push_back({id, sessionActivity, std::nullopt});
    }
    serviceMutex.Unlock();
    if (listenerMutex.TryLockFor(kDumpLockMilliseconds)) {
        for (SessionState& session : sessions) {
            session.listener = clientListeners.count(session.id) != 0;
        }
        listenerMutex.Unlock();
    }
    return sessions;
}

Return<void> AIServiceHIDL::debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) {
    DumpState({"IAIService", activity, SessionStates()}, handle, options);
    return Void();
}

}  // namespace orva::hidl
