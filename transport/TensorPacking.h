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

// Appends the handle by which a tensor is sent to a peer; it is valid as long as the tensor. False,
// and nothing appended, when the tensor is null or cannot be serialized.
bool PackTensor(const std::shared_ptr<IAITensor>& tensor, std::vector<AITensorHandle>& handles);

}  // namespace orva::hidl
