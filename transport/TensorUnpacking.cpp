/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/TensorUnpacking.h"

#include <utility>

#include <orva/AITensorFactory.h>

#include "common/Log.h"
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

}  // namespace

int32_t UnpackTensors(const TensorLines& lines, ServiceActivity& service, const std::string& client,
                      const android::hardware::hidl_vec<AITensorHandle>& inputs,
                      const android::hardware::hidl_vec<AITensorHandle>& outputs,
                      RequestTensors& tensors) {
    const auto refuse = [&](const LogSource& source, Refusal reason, const char* line) {
        return service.Refuse(source, reason, kStatusFailure, client, "%s", line);
    };
    for (const AITensorHandle& handle : inputs) {
        if (lines.inputType != nullptr) {
            const LogSource here = ORVA_IN(lines.method);
            ORVA_LOG_FROM(here, ANDROID_LOG_INFO, service.Tag(), "%s%s", lines.inputType,
                          handle.type.c_str());
        }
        if (!Fill(CreateTensor(handle), handle, tensors.inputs)) {
            return refuse(ORVA_IN(lines.method), Refusal::kInputTensor, lines.badInput);
        }
    }
    for (const AITensorHandle& handle : outputs) {
        std::shared_ptr<IAITensor> tensor = CreateTensor(handle);
        if (tensor == nullptr && lines.noOutput != nullptr) {
            return refuse(ORVA_IN(lines.method), Refusal::kOutputTensor, lines.noOutput);
        }
        if (!Fill(std::move(tensor), handle, tensors.outputs)) {
            return refuse(ORVA_IN(lines.method), Refusal::kOutputTensor, lines.badOutput);
        }
    }
    return kStatusSuccess;
}

}  // namespace orva::hidl
