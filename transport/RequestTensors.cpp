/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/RequestTensors.h"

#include <utility>

#include <orva/AITensorFactory.h>

#include "common/StatusCodes.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

namespace {

std::shared_ptr<IAITensor> CreateTensor(const AITensorHandle& handle) {
    return AITensorFactory::GetInstance()->CreateTensor(handle.type);
}

// False, and nothing appended, when the tensor cannot be filled; null always fails.
bool Fill(std::shared_ptr<IAITensor> tensor, const AITensorHandle& handle,
          std::vector<std::shared_ptr<IAITensor>>& tensors) {
    if (AITensorSerializerRegistry::GetInstance()->DeserializeFrom(tensor, handle) !=
        kTransportSuccess) {
        return false;
    }
    tensors.push_back(std::move(tensor));
    return true;
}

// False, and nothing appended, when the tensor cannot be serialized. No type name can be asked of
// one that is not there.
bool Pack(const std::shared_ptr<IAITensor>& tensor, std::vector<AITensorHandle>& handles) {
    // Filled in place: a copy would duplicate the descriptors.
    if (tensor != nullptr && AITensorSerializerRegistry::GetInstance()->SerializeTo(
                                     handles.emplace_back(), tensor) != kTransportSuccess) {
        handles.pop_back();
        return false;
    }
    return tensor != nullptr;
}

}  // namespace

bool UnpackTensors(const TensorLines& lines, ServiceActivity& service, const std::string& client,
                   const android::hardware::hidl_vec<AITensorHandle>& inputs,
                   const android::hardware::hidl_vec<AITensorHandle>& outputs,
                   RequestTensors& tensors) {
    const auto refuse = [&](const LogSource& source, const char* line) {
        service.Refuse(source, kStatusFailure, client, "%s", line);
        return false;
    };
    for (const AITensorHandle& handle : inputs) {
        if (lines.inputType != nullptr) {
            const LogSource here = ORVA_IN(lines.method);
            ORVA_LOG_FROM(here, ANDROID_LOG_INFO, service.Tag(), "%s%s", lines.inputType,
                          handle.type.c_str());
        }
        if (!Fill(CreateTensor(handle), handle, tensors.inputs)) {
            return refuse(ORVA_IN(lines.method), lines.badInput);
        }
    }
    for (const AITensorHandle& handle : outputs) {
        std::shared_ptr<IAITensor> tensor = CreateTensor(handle);
        if (tensor == nullptr && lines.noOutput != nullptr) {
            return refuse(ORVA_IN(lines.method), lines.noOutput);
        }
        if (!Fill(std::move(tensor), handle, tensors.outputs)) {
            return refuse(ORVA_IN(lines.method), lines.badOutput);
        }
    }
    return true;
}

std::vector<AITensorHandle> PackOutputs(const std::vector<std::shared_ptr<IAITensor>>& outputs,
                                        int32_t& result, ServiceActivity& service,
                                        const std::string& client, const LogSource& source) {
    std::vector<AITensorHandle> handles;
    handles.reserve(outputs.size());
    for (const std::shared_ptr<IAITensor>& tensor : outputs) {
        if (!Pack(tensor, handles)) {
            result = result != 0 ? kStatusFailure : kStatusSuccess;
            // Not the position but whether the tensor was there: readers of the log look for it.
            service.Refuse(source, result, client,
                           "Process output tensor SerializeTo failed, tensor[%d]",
                           tensor == nullptr ? 1 : 0);
        }
    }
    return handles;
}

}  // namespace orva::hidl
