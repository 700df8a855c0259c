/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/ServiceTime.h"

#include <orva/AIServiceConnectManager.h>

namespace orva::hidl {

void UpdateServiceTime(const std::string& serviceId, SessionActivity& session) {
    AIServiceConnectManager* const connections = AIServiceConnectManager::GetInstance();
    connections->UpdateServiceTime(serviceId);
    session.Use();
    if (session.HasEnded()) {
        connections->RemoveServiceTime(serviceId);
    }
}

}  // namespace orva::hidl
