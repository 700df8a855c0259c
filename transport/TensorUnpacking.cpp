/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorUnpacking.h"

#include <orva/AITensorFactory.h>

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

bool UnpackTensors(const android::hardware::hidl_vec<AITensorHandle>& handles,
                   std::vector<std::shared_ptr<IAITensor>>& tensors) {
    AITensorSerializerRegistry* const registry = AITensorSerializerRegistry::GetInstance();
    for (const AITensorHandle& handle : handles) {
        std::shared_ptr<IAITensor> tensor =
                AITensorFactory::GetInstance()->CreateTensor(handle.type);
        if (registry->DeserializeFrom(tensor, handle) != kTransportSuccess) {
            return false;
        }
        tensors.push_back(std::move(tensor));
    }
    return true;
}

}  // namespace orva::hidl
