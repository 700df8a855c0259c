/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "aiservice/AIServiceDeathRecipient.h"

#include "aiservice/AIServiceHIDL.h"
#include "aiservice/LogTag.h"
#include "common/Log.h"

namespace orva::hidl {

void AIServiceDeathRecipient::serviceDied(uint64_t,
                                          const android::wp<android::hidl::base::V1_0::IBase>&) {
    ORVA_LOGI(kServiceTag, "AIClient %s is inactive", serviceId.c_str());
    AIServiceHIDL::GetInstance()->RemoveService(serviceId);
}

}  // namespace orva::hidl
