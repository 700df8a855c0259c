/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorUnpacking.h"

#include <utility>

#include <orva/AITensorFactory.h>

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

std::shared_ptr<IAITensor> CreateTensor(const AITensorHandle& handle) {
    return AITensorFactory::GetInstance()->CreateTensor(handle.type);
}

bool FillTensor(std::shared_ptr<IAITensor> tensor, const AITensorHandle& handle,
                std::vector<std::shared_ptr<IAITensor>>& tensors) {
    if (AITensorSerializerRegistry::GetInstance()->DeserializeFrom(tensor, handle) !=
        kTransportSuccess) {
        return false;
    }
    tensors.push_back(std::move(tensor));
    return true;
}

bool UnpackTensors(const android::hardware::hidl_vec<AITensorHandle>& handles,
                   std::vector<std::shared_ptr<IAITensor>>& tensors) {
    for (const AITensorHandle& handle : handles) {
        if (!FillTensor(CreateTensor(handle), handle, tensors)) {
            return false;
        }
    }
    return true;
}

}  // namespace orva::hidl
