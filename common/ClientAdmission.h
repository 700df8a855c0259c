/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <orva/AIServiceConnectManager.h>

namespace orva::hidl {

// Asks the connection manager, which counts the clients of both services, to let another one in.
// At the limit a client whose time has run out makes way, whoever it is; the count is not looked
// at again. False when there is none. Takes the service's locks.
template <typename Service>
bool AdmitClient(Service& service) {
    AIServiceConnectManager* const connections = AIServiceConnectManager::GetInstance();
    if (connections->CheckServiceNum()) {
        return true;
    }
    const std::string idle = connections->GetTimeoutServiceId();
    if (idle.empty()) {
        return false;
    }
    service.RemoveService(idle);
    return true;
}

}  // namespace orva::hidl
