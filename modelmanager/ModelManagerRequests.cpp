/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Requests: in one call, or bound first and started later.

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "transport/TensorUnpacking.h"

namespace orva::hidl {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

Return<int32_t> ModelManagerServiceHIDL::Process(int32_t clientId, const hidl_string& context,
                                                 const hidl_vec<AITensorHandle>& inputs,
                                                 const hidl_vec<AITensorHandle>& outputs,
                                                 int32_t processArg) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL Process");
    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        return kStatusNoSession;
    }

    std::vector<std::shared_ptr<IAITensor>> inputTensors;
    for (const AITensorHandle& handle : inputs) {
        ORVA_LOGI(kManagerTag, "Process tensorstype %s", handle.type.c_str());
        if (!FillTensor(CreateTensor(handle), handle, inputTensors)) {
            ORVA_LOGE(kManagerTag, "Process input data DeserializeFrom failed");
            activity.Refuse(Refusal::kInputTensor);
            return kStatusFailure;
        }
    }
    // The model manager writes its results straight into the client's buffers.
    std::vector<std::shared_ptr<IAITensor>> outputTensors;
    for (const AITensorHandle& handle : outputs) {
        std::shared_ptr<IAITensor> tensor = CreateTensor(handle);
        if (tensor == nullptr) {
            ORVA_LOGE(kManagerTag, "Process output tensor create failed");
            activity.Refuse(Refusal::kOutputTensor);
            return kStatusFailure;
        }
        if (!FillTensor(std::move(tensor), handle, outputTensors)) {
            ORVA_LOGE(kManagerTag, "Process output data DeserializeFrom failed");
            activity.Refuse(Refusal::kOutputTensor);
            return kStatusFailure;
        }
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI(kManagerTag, "Process context: %s", context.c_str());
    UpdateServiceTime(serviceId, *session.activity);
    session.activity->RequestStarts();
    const int32_t status =
            session.manager->Process(managerContext, inputTensors, outputTensors, processArg);
    if (status != kStatusSuccess) {
        session.activity->RequestIsRefused(Refusal::kRequest);
    }
    return status;
}

Return<int32_t> ModelManagerServiceHIDL::SetInputsAndOutputs(
        int32_t clientId, const hidl_string& context, const hidl_vec<AITensorHandle>& inputs,
        const hidl_vec<AITensorHandle>& outputs) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL SetInputsAndOutputs");
    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        return kStatusNoSession;
    }

    std::vector<std::shared_ptr<IAITensor>> inputTensors;
    for (const AITensorHandle& handle : inputs) {
        ORVA_LOGI(kManagerTag, "SetInputsAndOutputs tensorstype %s", handle.type.c_str());
        if (!FillTensor(CreateTensor(handle), handle, inputTensors)) {
            ORVA_LOGE(kManagerTag, "SetInputsAndOutputs input tensor DeserializeFrom failed");
            activity.Refuse(Refusal::kInputTensor);
            return kStatusFailure;
        }
    }
    std::vector<std::shared_ptr<IAITensor>> outputTensors;
    if (!UnpackTensors(outputs, outputTensors)) {
        ORVA_LOGE(kManagerTag, "SetInputsAndOutputs output tensor DeserializeFrom failed");
        activity.Refuse(Refusal::kOutputTensor);
        return kStatusFailure;
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI(kManagerTag, "SetInputsAndOutputs context: %s", context.c_str());
    UpdateServiceTime(serviceId, *session.activity);
    const int32_t status =
            session.manager->SetInputsAndOutputs(managerContext, inputTensors, outputTensors);
    if (status != kStatusSuccess) {
        activity.Refuse(Refusal::kRequest);
    }
    return status;
}

Return<int32_t> ModelManagerServiceHIDL::StartCompute(int32_t clientId,
                                                      const hidl_string& context) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL StartCompute");
    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        // Clients know of no other failure of this method than 1.
        return kStatusFailure;
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI(kManagerTag, "StartCompute context: %s", context.c_str());
    UpdateServiceTime(serviceId, *session.activity);
    session.activity->RequestStarts();
    if (session.manager->StartCompute(managerContext) != kStatusSuccess) {
        session.activity->RequestIsRefused(Refusal::kRequest);
        return kStatusFailure;
    }
    return kStatusSuccess;
}

}  // namespace orva::hidl
