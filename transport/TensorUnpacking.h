/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <vector>

#include <orva/IAITensor.h>

#include "common/Interfaces.h"

namespace orva::hidl {

// Makes one tensor a handle, in order, each mapped onto the peer's memory. False at the first that
// cannot be made or filled; `tensors` then holds those before it.
bool UnpackTensors(const android::hardware::hidl_vec<AITensorHandle>& handles,
                   std::vector<std::shared_ptr<IAITensor>>& tensors);

}  // namespace orva::hidl
