/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "modelmanager/ModelManagerClientListener.h"

#include "common/Log.h"
#include "modelmanager/ModelManagerServiceHIDL.h"

namespace orva::hidl {

void ModelManagerClientListener::OnProcessDone(
        const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    ORVA_LOGI(ModelManagerServiceHIDL::kLogTag, "ModelManagerServiceHIDL OnAIEvent");
    // Copies: the client may end its session meanwhile, and this object with it.
    const std::shared_ptr<SessionRecord> counted = session_;
    if (service != nullptr) {
        service->OnProcessDone(std::string(serviceId), context, result, outputs);
    }
    if (counted != nullptr) {
        counted->RequestEnds(true);
    }
}

void ModelManagerClientListener::OnServiceDied() {
    ORVA_LOGE(ModelManagerServiceHIDL::kLogTag, "ModelManagerServiceHIDL ServiceDied");
}

}  // namespace orva::hidl
