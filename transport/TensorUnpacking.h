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

// An empty tensor of a handle's type; null when there is none of that name.
std::shared_ptr<IAITensor> CreateTensor(const AITensorHandle& handle);

// Fills such a tensor from its handle, mapped onto the peer's memory, and appends it. False, and
// nothing appended, when that fails; null always fails.
bool FillTensor(std::shared_ptr<IAITensor> tensor, const AITensorHandle& handle,
                std::vector<std::shared_ptr<IAITensor>>& tensors);

// Makes and fills one tensor a handle, in order. False at the first that cannot be made or filled;
// `tensors` then holds those before it.
bool UnpackTensors(const android::hardware::hidl_vec<AITensorHandle>& handles,
                   std::vector<std::shared_ptr<IAITensor>>& tensors);

}  // namespace orva::hidl
