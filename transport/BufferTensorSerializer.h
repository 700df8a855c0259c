/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>

#include <orva/IAITensor.h>

#include "common/Interfaces.h"

namespace orva::hidl {

// The serializer pair of every AINeuralNetworkBufferHIDL and its descendants. 0 success, 1 failure.

// Describes a tensor by a handle. `out.data` and `out.type` borrow from the tensor and are valid
// as long as it; `out.attr` owns its descriptor, because the tensor's own goes with the next
// serialization of the same tensor, which can come while the handle is still on its way.
uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor);

// Fills a tensor from a handle and maps its data. The tensor keeps duplicates of the descriptors.
uint32_t DeserializeBufferTensor(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in);

}  // namespace orva::hidl
