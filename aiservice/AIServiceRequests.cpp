/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Requests, listeners and results; the service object and its sessions are in AIServiceHIDL.cpp.

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <orva/AIServiceConnectManager.h>

#include "aiservice/AIServiceHIDL.h"
#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "transport/RequestTensors.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

namespace {

constexpr uint64_t kDeathCookie = 0x3456;

constexpr TensorLines kProcessLines = {"Process", nullptr,
                                       "Process input tensor DeserializeFrom failed", nullptr,
                                       "Process output tensor DeserializeFrom failed"};

}  // namespace

Return<int32_t> AIServiceHIDL::Process(int32_t clientId, const hidl_string& context,
                                       const hidl_vec<AITensorHandle>& inputs,
                                       const hidl_vec<AITensorHandle>& outputs, int32_t param) {
    ORVA_LOGI("AIServiceHIDL Process");
    const std::string serviceId = MakeServiceId(clientId);
    const NodeSession session =
            TakeSession(serviceId, ORVA_HERE, "Process service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    RequestTensors tensors;
    if (!UnpackTensors(kProcessLines, activity_, serviceId, inputs, outputs, tensors)) {
        return kStatusFailure;
    }

    AIContext nodeContext;
    nodeContext.Deserialize(context);
    ORVA_LOGI("Process context: %s", context.c_str());
    return Request(serviceId, *session.record, ORVA_HERE, [&] {
        return session.framework->Process(nodeContext, tensors.inputs, tensors.outputs, param);
    });
}

Return<int32_t> AIServiceHIDL::SetListener(int32_t clientId,
                                           const sp<IAIServiceListener>& listener) {
    return clientId < 0 ? SetClientListener(MakeServiceId(ListenerClientId(clientId)), listener)
                        : SetNodeListener(MakeServiceId(clientId));
}

int32_t AIServiceHIDL::SetClientListener(const std::string& serviceId,
                                         const sp<IAIServiceListener>& listener) {
    // A process that is gone may have had this one's number, and set a listener.
    RemoveWhatDeadClientsLeft();
    MutexLock lock(listenerMutex);
    if (clientListeners.count(serviceId) != 0) {
        return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId,
                                "SetListener service %s is already set", serviceId.c_str());
    }
    if (!LinkToDeath(serviceId, listener, kDeathCookie)) {
        return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId);
    }
    AIServiceConnectManager::GetInstance()->UpdateServiceTime(serviceId);
    clientListeners[serviceId] = listener;
    return kStatusSuccess;
}

int32_t AIServiceHIDL::SetNodeListener(const std::string& serviceId) {
    const NodeSession session =
            TakeSession(serviceId, ORVA_IN("SetListener"), "SetListener service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    // A new one each time; the node knows what to do with the one before.
    const std::shared_ptr<AIServiceListener> nodeListener(
            new (std::nothrow) AIServiceClientListener(serviceId, this, session.record));
    if (nodeListener == nullptr) {
        return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId,
                                "SetListener create client listener for service id: %s failed",
                                serviceId.c_str());
    }
    const int32_t status = session.framework->RegisterListener(nodeListener);
    if (status != kStatusSuccess) {
        activity_.Refuse(ORVA_IN("SetListener"), status, serviceId);
    }
    const LogSource here = ORVA_IN("SetListener");
    ORVA_LOG_FROM(here, ANDROID_LOG_INFO, kLogTag,
                  "AIServiceHIDL SetListener service %s set complete", serviceId.c_str());
    return status;
}

void AIServiceHIDL::OnProcessDone(const std::string& serviceId, const AIContext& context,
                                  int32_t result,
                                  const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    const char* const id = serviceId.c_str();
    sp<IAIServiceListener> listener;
    {
        MutexLock lock(listenerMutex);
        const auto found = clientListeners.find(serviceId);
        if (found == clientListeners.end()) {
            activity_.Refuse(ORVA_HERE, result, serviceId,
                             "AIServiceHIDL OnProcessDone not find the listener %s", id);
            return;
        }
        listener = found->second;
    }
    if (listener == nullptr) {
        return;
    }

    std::vector<AITensorHandle> delivered =
            PackOutputs(outputs, result, activity_, serviceId, ORVA_HERE);
    ORVA_LOGI("AIServiceHIDL OnProcessDone %s call the listener", id);
    // The list stays here: a hidl_vec of its own would duplicate every descriptor.
    hidl_vec<AITensorHandle> handles;
    handles.setToExternal(delivered.data(), delivered.size());
    const hidl_string contextText = context.Serialize();
    if (!listener->OnProcessDone(result, contextText, handles).isOk()) {
        activity_.Refuse(ORVA_HERE, result, serviceId,
                         "AIServiceHIDL call OnProcessDone isOk error");
    }
    ORVA_LOGI("AIServiceHIDL OnProcessDone Complete %s call the listener", id);
}

}  // namespace orva::hidl
