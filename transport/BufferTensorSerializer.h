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

// Describes a tensor by a handle with descriptors of its own, so that it outlives the tensor and
// the next serialization of it.
uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor);

// Fills a tensor from a handle and maps its data. The tensor keeps duplicates of the descriptors.
uint32_t DeserializeBufferTensor(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in);

}  // namespace orva::hidl
