/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Questions about a session's models. What the model manager answers is passed on as it is.

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
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
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL GetMaxUsedMemory");
    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        return kStatusNoSession;
    }
    UpdateServiceTime(serviceId, *session.activity);
    return session.manager->GetMaxUsedMemory();
}

Return<int32_t> ModelManagerServiceHIDL::CheckModelValid(int32_t clientId) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL CheckModelValid");
    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        return kStatusNoSession;
    }
    UpdateServiceTime(serviceId, *session.activity);
    return session.manager->CheckModelValid();
}

Return<void> ModelManagerServiceHIDL::GetModelIOTensorDim(int32_t clientId,
                                                          const hidl_string& modelName,
                                                          GetModelIOTensorDim_cb _hidl_cb) {
    // The second blank is meant: readers of the log look for it.
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL  GetModelIOTensorDim");
    RequireCallback(_hidl_cb);
    const std::string serviceId = MakeServiceId(clientId);
    Session session;
    {
        MutexLock lock(managerMutex);
        session = FindSession(serviceId);
        if (session.manager == nullptr) {
            activity.Refuse(Refusal::kNoSession);
            ORVA_LOGE(kManagerTag, "GetModelIOTensorDim service %s is not create",
                      serviceId.c_str());
            // The answer goes out with the lock held, so no session can come up before it.
            _hidl_cb({}, {}, kStatusNoSession);
            return Void();
        }
    }
    UpdateServiceTime(serviceId, *session.activity);

    std::vector<AIModelIOTensor> inputs;
    std::vector<AIModelIOTensor> outputs;
    const int32_t status = session.manager->GetModelIOTensorDim(modelName, inputs, outputs);
    if (status != kStatusSuccess) {
        activity.Refuse(Refusal::kRequest);
        _hidl_cb({}, {}, status);
        return Void();
    }
    _hidl_cb(Dimensions(inputs), Dimensions(outputs), kStatusSuccess);
    return Void();
}

}  // namespace orva::hidl
