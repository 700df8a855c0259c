/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorPacking.h"

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

bool PackTensor(const std::shared_ptr<IAITensor>& tensor, std::vector<AITensorHandle>& handles) {
    // No type name can be asked of a tensor that is not there.
    if (tensor == nullptr) {
        return false;
    }
    // Filled in place: a copy would duplicate the descriptors.
    AITensorHandle& handle = handles.emplace_back();
    if (AITensorSerializerRegistry::GetInstance()->SerializeTo(handle, tensor) !=
        kTransportSuccess) {
        handles.pop_back();
        return false;
    }
    return true;
}

}  // namespace orva::hidl
