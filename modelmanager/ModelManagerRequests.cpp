/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Requests: in one call, or bound first and started later.

#include <cstdint>
#include <string>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "transport/RequestTensors.h"

namespace orva::hidl {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

namespace {

constexpr TensorLines kProcessLines = {
        "Process", "Process tensorstype ", "Process input data DeserializeFrom failed",
        "Process output tensor create failed", "Process output data DeserializeFrom failed"};
constexpr TensorLines kBindingLines = {"SetInputsAndOutputs", "SetInputsAndOutputs tensorstype ",
                                       "SetInputsAndOutputs input tensor DeserializeFrom failed",
                                       nullptr,
                                       "SetInputsAndOutputs output tensor DeserializeFrom failed"};

}  // namespace

Return<int32_t> ModelManagerServiceHIDL::Process(int32_t clientId, const hidl_string& context,
                                                 const hidl_vec<AITensorHandle>& inputs,
                                                 const hidl_vec<AITensorHandle>& outputs,
                                                 int32_t processArg) {
    ORVA_LOGI("ModelManagerServiceHIDL Process");
    const std::string serviceId = MakeServiceId(clientId);
    const ManagerSession session =
            TakeSession(serviceId, ORVA_HERE, "Process service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    RequestTensors tensors;
    if (!UnpackTensors(kProcessLines, activity_, serviceId, inputs, outputs, tensors)) {
        return kStatusFailure;
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI("Process context: %s", context.c_str());
    return Request(serviceId, *session.record, ORVA_HERE, [&] {
        return session.framework->Process(managerContext, tensors.inputs, tensors.outputs,
                                          processArg);
    });
}

Return<int32_t> ModelManagerServiceHIDL::SetInputsAndOutputs(
        int32_t clientId, const hidl_string& context, const hidl_vec<AITensorHandle>& inputs,
        const hidl_vec<AITensorHandle>& outputs) {
    ORVA_LOGI("ModelManagerServiceHIDL SetInputsAndOutputs");
    const std::string serviceId = MakeServiceId(clientId);
    const ManagerSession session =
            TakeSession(serviceId, ORVA_HERE, "SetInputsAndOutputs service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    RequestTensors tensors;
    if (!UnpackTensors(kBindingLines, activity_, serviceId, inputs, outputs, tensors)) {
        return kStatusFailure;
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI("SetInputsAndOutputs context: %s", context.c_str());
    UpdateServiceTime(serviceId, *session.record);
    const int32_t status =
            session.framework->SetInputsAndOutputs(managerContext, tensors.inputs, tensors.outputs);
    if (status != kStatusSuccess) {
        activity_.Refuse(ORVA_HERE, status, serviceId);
    }
    return status;
}

Return<int32_t> ModelManagerServiceHIDL::StartCompute(int32_t clientId,
                                                      const hidl_string& context) {
    ORVA_LOGI("ModelManagerServiceHIDL StartCompute");
    const std::string serviceId = MakeServiceId(clientId);
    // Clients know of no other failure of this method than 1.
    const ManagerSession session = TakeSession(
            serviceId, ORVA_HERE, "StartCompute service %s is not create", kStatusFailure);
    if (!session) {
        return kStatusFailure;
    }

    AIContext managerContext;
    managerContext.Deserialize(context);
    ORVA_LOGI("StartCompute context: %s", context.c_str());
    return Request(serviceId, *session.record, ORVA_HERE, [&] {
        return session.framework->StartCompute(managerContext) == kStatusSuccess ? kStatusSuccess
                                                                                 : kStatusFailure;
    });
}

}  // namespace orva::hidl
