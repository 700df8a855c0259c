/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Whether a model can run here: asked of a model manager made for the question alone.

#include <orva/AIModelManagerFactory.h>

#include "common/Log.h"
#include "common/ModelBuffers.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"

namespace orva::hidl {

using android::hardware::Return;

// The client id names nothing here: with or without a session the answer is the same, and the
// question is no sign of life of one.
Return<int32_t> ModelManagerServiceHIDL::CheckModelCompatibility(int32_t /*clientId*/,
                                                                 const ModelBuffer& model) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL CheckModelCompatibility");
    const std::shared_ptr<AIModelManager> manager(
            AIModelManagerFactory::Instance()->createModelManager());
    if (manager == nullptr) {
        ORVA_LOGE(kManagerTag, "create AIModelManagerService error");
        activity.Refuse(Refusal::kUnknownType);
        return kStatusFailure;
    }
    AIModelDescription description;
    if (!ReadModel(model, description)) {
        ORVA_LOGE(kManagerTag, "mmap fail");
        activity.Refuse(Refusal::kModelRegion);
        return kStatusFailure;
    }
    return manager->CheckModelCompatibility(description);
}

}  // namespace orva::hidl
