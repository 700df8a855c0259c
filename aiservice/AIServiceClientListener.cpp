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
    if (service != nullptr) {
        // A copy: the client may end its session meanwhile, and this object with it.
        service->OnProcessDone(std::string(serviceId), context, result, outputs);
    }
    if (activity != nullptr) {
        activity->RequestIsDone();
    }
}

}  // namespace orva::hidl
