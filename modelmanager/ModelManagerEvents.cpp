/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// How results get back to clients: listeners and events.

#include <new>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "transport/TensorPacking.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

namespace {

// Tells the platform's traces apart; the recipient does not look at it.
constexpr uint64_t kDeathCookie = 0x5678;

}  // namespace

Return<int32_t> ModelManagerServiceHIDL::SetListener(int32_t clientId,
                                                     const sp<IModelManagerListener>& listener) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL SetListener");
    if (clientId < 0) {
        CallbackLock lock(listenerMutex);
        const std::string serviceId = MakeServiceId(ListenerClientId(clientId));
        if (clientListeners.count(serviceId) != 0) {
            ORVA_LOGE(kManagerTag, "SetListener service %s is already set", serviceId.c_str());
            activity.Refuse(Refusal::kListenerSet);
            return kStatusFailure;
        }
        const sp<ModelManagerServiceDeathRecipient> recipient =
                new (std::nothrow) ModelManagerServiceDeathRecipient(serviceId);
        if (recipient == nullptr) {
            ORVA_LOGE(kManagerTag, "service_recipient is nullptr.");
            activity.Refuse(Refusal::kMemory);
            return kStatusFailure;
        }
        deathRecipients[serviceId] = recipient;
        // A client may register no listener at all: its results are dropped without a word.
        if (listener != nullptr) {
            // One that is dead already fails here; its session is left to the idle time-out.
            (void)listener->linkToDeath(recipient, kDeathCookie).isOk();
        }
        clientListeners[serviceId] = listener;
        return kStatusSuccess;
    }

    const std::string serviceId = MakeServiceId(clientId);
    const Session session = TakeSession(serviceId, ORVA_HERE);
    if (session.manager == nullptr) {
        return kStatusNoSession;
    }
    {
        // The model manager is called with the lock held, so that of two listeners set at once the
        // later one stays.
        CallbackLock lock(listenerMutex);
        std::shared_ptr<ModelManagerClientListener> managerListener;
        const auto found = frameworkListeners.find(serviceId);
        if (found != frameworkListeners.end()) {
            managerListener = found->second;
        } else {
            managerListener.reset(new (std::nothrow) ModelManagerClientListener(serviceId, this,
                                                                                session.activity));
        }
        if (managerListener == nullptr) {
            ORVA_LOGE(kManagerTag, "client_listener is nullptr.");
            activity.Refuse(Refusal::kMemory);
            return kStatusFailure;
        }
        const int32_t status = session.manager->RegisterListener(managerListener);
        if (status != kStatusSuccess) {
            activity.Refuse(Refusal::kRequest);
            return status;
        }
    }
    UpdateServiceTime(serviceId, *session.activity);
    return kStatusSuccess;
}

void ModelManagerServiceHIDL::OnProcessDone(
        const std::string& serviceId, const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    // Released after the lock: the last reference may end the connection to the client.
    sp<IModelManagerListener> listener;
    // Held until the client has answered: its results come one at a time, in their order, and
    // none comes once UnInit has returned.
    CallbackLock lock(listenerMutex);
    const auto found = clientListeners.find(serviceId);
    if (found == clientListeners.end()) {
        ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL OnProcessDone not find the listener %s",
                  serviceId.c_str());
        activity.Refuse(Refusal::kNoListener);
        return;
    }
    listener = found->second;
    if (listener == nullptr) {
        return;
    }

    std::vector<AITensorHandle> delivered =
            PackOutputs(outputs, result, activity, ORVA_HERE, kManagerTag);
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL OnAIEvent %s call the listener",
              serviceId.c_str());
    // The list stays here: a hidl_vec of its own would duplicate every descriptor.
    hidl_vec<AITensorHandle> handles;
    handles.setToExternal(delivered.data(), delivered.size());
    const hidl_string contextText = context.Serialize();
    ORVA_LOGI(kManagerTag, "OnProcessDone context: %s", contextText.c_str());
    if (!listener->OnProcessDone(result, contextText, handles).isOk()) {
        ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL call OnProcessDone isOk error");
        activity.Refuse(Refusal::kDelivery);
    }
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL OnAIEvent Complete %s call the listener",
              serviceId.c_str());
}

}  // namespace orva::hidl
