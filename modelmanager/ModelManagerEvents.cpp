/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// How results get back to clients: listeners and events.

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "transport/RequestTensors.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;

namespace {

constexpr const char* kLogTag = ModelManagerServiceHIDL::kLogTag;

constexpr uint64_t kDeathCookie = 0x5678;

}  // namespace

void ModelManagerClientListener::OnProcessDone(
        const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    ORVA_LOGI("ModelManagerServiceHIDL OnAIEvent");
    CompletionListener::OnProcessDone(context, result, outputs);
}

void ModelManagerClientListener::OnServiceDied() {
    ORVA_LOGE("ModelManagerServiceHIDL ServiceDied");
}

Return<int32_t> ModelManagerServiceHIDL::SetListener(int32_t clientId,
                                                     const sp<IModelManagerListener>& listener) {
    ORVA_LOGI("ModelManagerServiceHIDL SetListener");
    return clientId < 0 ? SetClientListener(MakeServiceId(ListenerClientId(clientId)), listener)
                        : SetManagerListener(MakeServiceId(clientId));
}

int32_t ModelManagerServiceHIDL::SetClientListener(const std::string& serviceId,
                                                   const sp<IModelManagerListener>& listener) {
    // A process that is gone may have had this one's number, and set a listener.
    RemoveWhatDeadClientsLeft();
    MutexLock lock(listenerMutex);
    if (clientListeners.count(serviceId) != 0) {
        return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId,
                                "SetListener service %s is already set", serviceId.c_str());
    }
    if (!LinkToDeath(serviceId, listener, kDeathCookie)) {
        return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId,
                                "service_recipient is nullptr.");
    }
    clientListeners[serviceId] = listener;
    return kStatusSuccess;
}

int32_t ModelManagerServiceHIDL::SetManagerListener(const std::string& serviceId) {
    const ManagerSession session =
            TakeSession(serviceId, ORVA_IN("SetListener"), "SetListener service %s is not create");
    if (!session) {
        return kStatusNoSession;
    }
    {
        // The model manager is called with the lock held, so that of two listeners set at once the
        // later one stays.
        MutexLock lock(listenerMutex);
        std::shared_ptr<ModelManagerClientListener> managerListener;
        const auto found = frameworkListeners.find(serviceId);
        if (found != frameworkListeners.end()) {
            managerListener = found->second;
        } else {
            managerListener.reset(
                    new (std::nothrow) ModelManagerClientListener(serviceId, this, session.record));
        }
        if (managerListener == nullptr) {
            return activity_.Refuse(ORVA_IN("SetListener"), kStatusFailure, serviceId,
                                    "client_listener is nullptr.");
        }
        const int32_t status = session.framework->RegisterListener(managerListener);
        if (status != kStatusSuccess) {
            return activity_.Refuse(ORVA_IN("SetListener"), status, serviceId);
        }
    }
    UpdateServiceTime(serviceId, *session.record);
    return kStatusSuccess;
}

void ModelManagerServiceHIDL::OnProcessDone(
        const std::string& serviceId, const AIContext& context, int32_t result,
        const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    // Released after the lock: the last reference may end the connection to the client.
    sp<IModelManagerListener> listener;
    // Held until the client has answered: its results come one at a time, in their order, and
    // none comes once UnInit has returned.
    MutexLock lock(listenerMutex);
    const char* const id = serviceId.c_str();
    const auto found = clientListeners.find(serviceId);
    if (found == clientListeners.end()) {
        activity_.Refuse(ORVA_HERE, result, serviceId,
                         "ModelManagerServiceHIDL OnProcessDone not find the listener %s", id);
        return;
    }
    listener = found->second;
    if (listener == nullptr) {
        return;
    }

    std::vector<AITensorHandle> delivered =
            PackOutputs(outputs, result, activity_, serviceId, ORVA_HERE);
    ORVA_LOGI("ModelManagerServiceHIDL OnAIEvent %s call the listener", id);
    // The list stays here: a hidl_vec of its own would duplicate every descriptor.
    hidl_vec<AITensorHandle> handles;
    handles.setToExternal(delivered.data(), delivered.size());
    // The model manager's own object is only copied, for the log and once more for the client.
    ORVA_LOGI("OnProcessDone context: %s", AIContext(context).Serialize().c_str());
    const hidl_string contextText = AIContext(context).Serialize();
    if (!listener->OnProcessDone(result, contextText, handles).isOk()) {
        activity_.Refuse(ORVA_HERE, result, serviceId,
                         "ModelManagerServiceHIDL call OnProcessDone isOk error");
    }
    ORVA_LOGI("ModelManagerServiceHIDL OnAIEvent Complete %s call the listener", id);
}

}  // namespace orva::hidl
