/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorUnpacking.h"

#include <string>
#include <utility>

#include <orva/AITensorFactory.h>

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

namespace {

// The name that most tensors have, which need not be copied for each. Never destroyed: requests may
// come as long as the process lives.
const std::string& UsualType() {
    static const std::string& type = *new std::string(kBufferType);
    return type;
}

}  // namespace

std::shared_ptr<IAITensor> CreateTensor(const AITensorHandle& handle) {
    AITensorFactory* const factory = AITensorFactory::GetInstance();
    return handle.type == kBufferType ? factory->CreateTensor(UsualType())
                                      : factory->CreateTensor(handle.type);
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
