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

// The serializer pair of every AINeuralNetworkBufferHIDL and its descendants, which is what the
// tensor must be. Each uses the tensor, as one thread at a time may.

// Describes a tensor by a handle with descriptors of its own, so that it outlives the tensor and
// the next serialization of it. A region whose descriptor cannot be had, or duplicated, goes
// without a handle. 0; 1 for no tensor.
uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor);

// Fills a tensor from a handle and maps its data. The tensor keeps duplicates of the descriptors.
// Its attributes decide nothing: one that cannot be read keeps its default shape, with a line in
// the log. 0; 1 for no tensor, and where Init fails.
uint32_t DeserializeBufferTensor(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in);

}  // namespace orva::hidl
