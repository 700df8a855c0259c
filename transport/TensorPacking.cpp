/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorPacking.h"

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

namespace {

// False, and nothing appended, when the tensor cannot be serialized.
bool Pack(const std::shared_ptr<IAITensor>& tensor, std::vector<AITensorHandle>& handles) {
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

}  // namespace

std::vector<AITensorHandle> PackOutputs(const std::vector<std::shared_ptr<IAITensor>>& outputs,
                                        int32_t& result, ServiceActivity& service,
                                        const std::string& client, const LogSource& source) {
    std::vector<AITensorHandle> handles;
    handles.reserve(outputs.size());
    for (const std::shared_ptr<IAITensor>& tensor : outputs) {
        if (!Pack(tensor, handles)) {
            result = result != 0 ? kStatusFailure : kStatusSuccess;
            // Not the position but whether the tensor was there: readers of the log look for it.
            service.Refuse(source, Refusal::kLostOutput, result, client,
                           "Process output tensor SerializeTo failed, tensor[%d]",
                           tensor == nullptr ? 1 : 0);
        }
    }
    return handles;
}

}  // namespace orva::hidl
