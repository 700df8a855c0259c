/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Requests and results; the service object and its sessions are in AIServiceHIDL.cpp.

#include <new>

#include <orva/AIServiceConnectManager.h>

#include "aiservice/AIServiceClientListener.h"
#include "aiservice/AIServiceHIDL.h"
#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
#include "common/StatusCodes.h"
#include "transport/TensorPacking.h"
#include "transport/TensorUnpacking.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

namespace {

// Tells the platform's traces apart; the recipient does not look at it.
constexpr uint64_t kDeathCookie = 0x3456;

}  // namespace

Return<int32_t> AIServiceHIDL::Process(int32_t clientId, const hidl_string& context,
                                       const hidl_vec<AITensorHandle>& inputs,
                                       const hidl_vec<AITensorHandle>& outputs, int32_t param) {
    ORVA_LOGI(kServiceTag, "AIServiceHIDL Process");
    std::string serviceId;
    Session session;
    {
        MutexLock lock(serviceMutex);
        serviceId = MakeServiceId(clientId);
        session = FindSession(serviceId);
        if (session.node == nullptr) {
            activity.Refuse(Refusal::kNoSession);
            ORVA_LOGE(kServiceTag, "Process service %s is not create", serviceId.c_str());
            return kStatusNoSession;
        }
    }

    std::vector<std::shared_ptr<IAITensor>> inputTensors;
    if (!UnpackTensors(inputs, inputTensors)) {
        ORVA_LOGE(kServiceTag, "Process input tensor DeserializeFrom failed");
        activity.Refuse(Refusal::kInputTensor);
        return kStatusFailure;
    }
    // The node writes its results straight into the client's buffers.
    std::vector<std::shared_ptr<IAITensor>> outputTensors;
    if (!UnpackTensors(outputs, outputTensors)) {
        ORVA_LOGE(kServiceTag, "Process output tensor DeserializeFrom failed");
        activity.Refuse(Refusal::kOutputTensor);
        return kStatusFailure;
    }

    AIContext nodeContext;
    nodeContext.Deserialize(context);
    ORVA_LOGI(kServiceTag, "Process context: %s", context.c_str());
    UpdateServiceTime(serviceId, *session.activity);
    session.activity->RequestStarts();
    const int32_t status = session.node->Process(nodeContext, inputTensors, outputTensors, param);
    if (status != kStatusSuccess) {
        session.activity->RequestIsRefused(Refusal::kRequest);
    }
    return status;
}

Return<int32_t> AIServiceHIDL::SetListener(int32_t clientId,
                                           const sp<IAIServiceListener>& listener) {
    if (clientId < 0) {
        const std::string serviceId = MakeServiceId(ListenerClientId(clientId));
        MutexLock lock(listenerMutex);
        if (clientListeners.count(serviceId) != 0) {
            ORVA_LOGE(kServiceTag, "SetListener service %s is already set", serviceId.c_str());
            activity.Refuse(Refusal::kListenerSet);
            return kStatusFailure;
        }
        const sp<AIServiceDeathRecipient> recipient =
                new (std::nothrow) AIServiceDeathRecipient(serviceId);
        if (recipient == nullptr) {
            activity.Refuse(Refusal::kMemory);
            return kStatusFailure;
        }
        deathRecipients[serviceId] = recipient;
        // A client may register no listener at all: its results are dropped without a word.
        if (listener != nullptr) {
            // One that is dead already fails here; its session is left to the idle time-out.
            (void)listener->linkToDeath(recipient, kDeathCookie).isOk();
        }
        AIServiceConnectManager::GetInstance()->UpdateServiceTime(serviceId);
        clientListeners[serviceId] = listener;
        return kStatusSuccess;
    }

    const std::string serviceId = MakeServiceId(clientId);
    Session session;
    {
        MutexLock lock(serviceMutex);
        session = FindSession(serviceId);
        if (session.node == nullptr) {
            activity.Refuse(Refusal::kNoSession);
            ORVA_LOGE(kServiceTag, "SetListener service %s is not create", serviceId.c_str());
            return kStatusNoSession;
        }
    }
    // A new one each time; the node knows what to do with the one before.
    const std::shared_ptr<AIServiceListener> nodeListener(
            new (std::nothrow) AIServiceClientListener(serviceId, this, session.activity));
    if (nodeListener == nullptr) {
        activity.Refuse(Refusal::kMemory);
        ORVA_LOGE(kServiceTag, "SetListener create client listener for service id: %s failed",
                  serviceId.c_str());
        return kStatusFailure;
    }
    const int32_t status = session.node->RegisterListener(nodeListener);
    if (status != kStatusSuccess) {
        activity.Refuse(Refusal::kRequest);
    }
    ORVA_LOGI(kServiceTag, "AIServiceHIDL SetListener service %s set complete", serviceId.c_str());
    return status;
}

void AIServiceHIDL::OnProcessDone(const std::string& serviceId, const AIContext& context,
                                  int32_t result,
                                  const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    sp<IAIServiceListener> listener;
    {
        MutexLock lock(listenerMutex);
        const auto found = clientListeners.find(serviceId);
        if (found == clientListeners.end()) {
            ORVA_LOGE(kServiceTag, "AIServiceHIDL OnProcessDone not find the listener %s",
                      serviceId.c_str());
            activity.Refuse(Refusal::kNoListener);
            return;
        }
        listener = found->second;
    }
    if (listener == nullptr) {
        return;
    }

    std::vector<AITensorHandle> delivered =
            PackOutputs(outputs, result, activity, ORVA_HERE, kServiceTag);
    ORVA_LOGI(kServiceTag, "AIServiceHIDL OnProcessDone %s call the listener", serviceId.c_str());
    // The list stays here: a hidl_vec of its own would duplicate every descriptor.
    hidl_vec<AITensorHandle> handles;
    handles.setToExternal(delivered.data(), delivered.size());
    const hidl_string contextText = context.Serialize();
    if (!listener->OnProcessDone(result, contextText, handles).isOk()) {
        ORVA_LOGE(kServiceTag, "AIServiceHIDL call OnProcessDone isOk error");
        activity.Refuse(Refusal::kDelivery);
    }
    ORVA_LOGI(kServiceTag, "AIServiceHIDL OnProcessDone Complete %s call the listener",
              serviceId.c_str());
}

}  // namespace orva::hidl
