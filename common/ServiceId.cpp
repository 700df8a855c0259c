/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/ServiceId.h"

#include <hwbinder/IPCThreadState.h>

namespace orva::hidl {

std::string MakeServiceId(int32_t clientId) {
    const int pid = android::hardware::IPCThreadState::self()->getCallingPid();
    return std::to_string(pid) + ':' + std::to_string(clientId);
}

int32_t ListenerClientId(int32_t negatedClientId) {
    return static_cast<int32_t>(0U - static_cast<uint32_t>(negatedClientId));
}

}  // namespace orva::hidl
