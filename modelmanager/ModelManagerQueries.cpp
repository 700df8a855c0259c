/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Questions about a session's models. What the model manager answers is passed on as it is.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <orva/AIModelIOTensor.h>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "modelmanager/RequireCallback.h"

namespace orva::hidl {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

namespace {

// Only the dimensions of a tensor are told to clients.
hidl_vec<TensorDimension> Dimensions(const std::vector<AIModelIOTensor>& tensors) {
    hidl_vec<TensorDimension> dimensions;
    if (tensors.empty()) {
        return dimensions;
    }
    dimensions.resize(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        const AIModelIOTensor& tensor = tensors[i];
        dimensions[i] = {tensor.dim0, tensor.dim1, tensor.dim2, tensor.dim3};
    }
    return dimensions;
}

}  // namespace

Return<int32_t> ModelManagerServiceHIDL::GetMaxUsedMemory(int32_t clientId) {
    ORVA_LOGI("ModelManagerServiceHIDL GetMaxUsedMemory");
    const std::string serviceId = MakeServiceId(clientId);
    const ManagerSession session =
            TakeSession(serviceId, ORVA_HERE, "GetMaxUsedMemory service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    UpdateServiceTime(serviceId, *session.record);
    return session.framework->GetMaxUsedMemory();
}

Return<int32_t> ModelManagerServiceHIDL::CheckModelValid(int32_t clientId) {
    ORVA_LOGI("ModelManagerServiceHIDL CheckModelValid");
    const std::string serviceId = MakeServiceId(clientId);
    const ManagerSession session =
            TakeSession(serviceId, ORVA_HERE, "CheckModelValid service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    UpdateServiceTime(serviceId, *session.record);
    return session.framework->CheckModelValid();
}

Return<void> ModelManagerServiceHIDL::GetModelIOTensorDim(int32_t clientId,
                                                          const hidl_string& modelName,
                                                          GetModelIOTensorDim_cb _hidl_cb) {
    // The second blank is meant: readers of the log look for it.
    ORVA_LOGI("ModelManagerServiceHIDL  GetModelIOTensorDim");
    AnswerModelIOTensorDim(clientId, modelName, _hidl_cb);
    RequireCallback(_hidl_cb);
    return Void();
}

void ModelManagerServiceHIDL::AnswerModelIOTensorDim(int32_t clientId, const std::string& modelName,
                                                     const GetModelIOTensorDim_cb& answer) {
    const std::string serviceId = MakeServiceId(clientId);
    ManagerSession session;
    {
        MutexLock lock(managerMutex);
        session = FindSession(modelManagers, serviceId);
        if (!session) {
            activity_.Refuse(ORVA_IN("GetModelIOTensorDim"), kStatusNoSession, serviceId,
                             "GetModelIOTensorDim service %s is not create", serviceId.c_str());
            // The answer goes out with the lock held, so no session can come up before it.
            if (answer != nullptr) {
                answer({}, {}, kStatusNoSession);
            }
            return;
        }
    }
    UpdateServiceTime(serviceId, *session.record);

    std::vector<AIModelIOTensor> inputs, outputs;
    const int32_t status = session.framework->GetModelIOTensorDim(modelName, inputs, outputs);
    if (status != kStatusSuccess) {
        activity_.Refuse(ORVA_IN("GetModelIOTensorDim"), status, serviceId);
        // What a failed call has put into the lists is nobody's.
        inputs.clear();
        outputs.clear();
    }
    if (answer != nullptr) {
        answer(Dimensions(inputs), Dimensions(outputs), status);
    }
}

}  // namespace orva::hidl
