/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <vendor/selkat/hardware/ai/2.0/IAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/IModelManagerListener.h>
#include <vendor/selkat/hardware/ai/2.0/types.h>
#include <vendor/selkat/hardware/ai/2.1/IAIService.h>
#include <vendor/selkat/hardware/ai/2.1/IModelManagerService.h>

namespace orva::hidl {

// The interfaces that the services implement: always the newest version.
using IAIService_hidl = ::vendor::selkat::hardware::ai::V2_1::IAIService;
using IModelManagerService_hidl = ::vendor::selkat::hardware::ai::V2_1::IModelManagerService;

// What their clients implement, and the records of both.
using ::vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using ::vendor::selkat::hardware::ai::V2_0::IAIServiceListener;
using ::vendor::selkat::hardware::ai::V2_0::IModelManagerListener;
using ::vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using ::vendor::selkat::hardware::ai::V2_0::TensorDimension;

}  // namespace orva::hidl
