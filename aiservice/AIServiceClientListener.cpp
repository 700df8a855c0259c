/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "aiservice/AIServiceClientListener.h"

#include "aiservice/AIServiceHIDL.h"

namespace orva::hidl {

void AIServiceClientListener::OnProcessDone(
        const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    // Copies: the client may end its session meanwhile, and this object with it.
    const std::shared_ptr<SessionRecord> counted = session_;
    if (service != nullptr) {
        service->OnProcessDone(std::string(serviceId), context, result, outputs);
    }
    if (counted != nullptr) {
        counted->RequestEnds(true);
    }
}

}  // namespace orva::hidl
