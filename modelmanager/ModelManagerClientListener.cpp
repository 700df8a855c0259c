/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "modelmanager/ModelManagerClientListener.h"

#include "common/Log.h"
#include "modelmanager/LogTag.h"
#include "modelmanager/ModelManagerServiceHIDL.h"

namespace orva::hidl {

void ModelManagerClientListener::OnProcessDone(
        const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL OnAIEvent");
    if (service != nullptr) {
        service->OnProcessDone(serviceId, context, result, outputs);
    }
    if (activity != nullptr) {
        activity->RequestIsDone();
    }
}

void ModelManagerClientListener::OnServiceDied() {
    ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL ServiceDied");
}

}  // namespace orva::hidl
