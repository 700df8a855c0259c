/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/Interfaces.h"

// The platform's service host looks this name up. Null: the model manager service is not offered.
extern "C" __attribute__((visibility("default"))) orva::hidl::IModelManagerService_hidl*
HIDL_FETCH_IModelManagerService(const char* /*instanceName*/) {
    return nullptr;
}
