/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Whether a model can run here: asked of a model manager made for the question alone.

#include <cstdint>
#include <memory>
#include <string>

#include <orva/AIModelDescription.h>
#include <orva/AIModelManagerFactory.h>

#include "common/Log.h"
#include "common/ModelBuffers.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"

namespace orva::hidl {

using android::hardware::Return;

// The client id names no session here: with or without one the answer is the same, and the question
// is no sign of life of it.
Return<int32_t> ModelManagerServiceHIDL::CheckModelCompatibility(int32_t clientId,
                                                                 const ModelBuffer& model) {
    ORVA_LOGI("ModelManagerServiceHIDL CheckModelCompatibility");
    const std::string serviceId = MakeServiceId(clientId);
    const std::shared_ptr<AIModelManager> manager(
            AIModelManagerFactory::Instance()->createModelManager());
    if (manager == nullptr) {
        return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId,
                                "create AIModelManagerService error");
    }
    AIModelDescription description;
    if (!ReadModel(model, description)) {
        return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId, "mmap fail");
    }
    return manager->CheckModelCompatibility(description);
}

}  // namespace orva::hidl
