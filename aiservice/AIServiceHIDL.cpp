/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The service object and its sessions.

#include "aiservice/AIServiceHIDL.h"

#include <orva/AIConfig.h>
#include <orva/AIModelDescription.h>
#include <orva/AINNNodeFactory.h>
#include <orva/AIServiceConnectManager.h>

#include "common/Log.h"
#include "common/ModelBuffers.h"
#include "common/ServiceId.h"
#include "common/StatusCodes.h"
#include "debug/StateDump.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

Return<int32_t> AIServiceHIDL::Init(int32_t clientId, const hidl_string& type,
                                    const hidl_string& config,
                                    const hidl_vec<ModelBuffer>& models) {
    ORVA_LOGI("AIServiceHIDL Init");
    const std::string serviceId = MakeServiceId(clientId);
    if (!AdmitClient(serviceId)) {
        return kStatusFailure;
    }

    NodeSession session;
    {
        MutexLock lock(serviceMutex);
        if (serviceNodes.count(serviceId) != 0) {
            // A success: a client that opens twice keeps the session that it has.
            ORVA_LOGE("Init service %s is already create", serviceId.c_str());
            return kStatusSuccess;
        }
        const std::string nodeType = type;
        session.framework = AINNNodeFactory::GetInstance()->CreateNNNode(nodeType);
        if (session.framework == nullptr) {
            return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId,
                                    "create AIService type %s error", nodeType.c_str());
        }
        session.framework->CreateIdleTimer();
        session.record = std::make_shared<SessionRecord>(activity_, serviceId, nodeType);
        serviceNodes[serviceId] = session;
    }

    // The session exists from here on, but a slow initialisation must not hold up other clients.
    AIConfig nodeConfig;
    nodeConfig.ParseFromString(config.c_str());
    std::vector<AIModelDescription> descriptions;
    if (!ReadModels(models, descriptions)) {
        // The session stays as it is, until the client ends it or its time runs out.
        session.record->Opened(false);
        return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId, "mmap fail");
    }
    const int32_t status = session.framework->Init(nodeConfig, descriptions);
    session.record->Opened(status == kStatusSuccess);
    if (status == kStatusSuccess) {
        UpdateServiceTime(serviceId, *session.record);
        return kStatusSuccess;
    }

    activity_.Refuse(ORVA_HERE, status, serviceId, "Service init failed");
    MutexLock lock(serviceMutex);
    EndSession(serviceNodes, serviceId);
    AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
    return status;
}

Return<void> AIServiceHIDL::UnInit(int32_t clientId) {
    ORVA_LOGI("AIServiceHIDL UnInit");
    RemoveService(MakeServiceId(clientId));
    return Void();
}

void AIServiceHIDL::RemoveService(const std::string& serviceId) {
    ORVA_LOGI("AIServiceHIDL RemoveService %s", serviceId.c_str());
    {
        MutexLock lock(serviceMutex);
        const auto found = serviceNodes.find(serviceId);
        if (found != serviceNodes.end()) {
            // First: whoever still uses the session then sees that it must not leave a time.
            found->second.record->End();
        }
        // Also without a session: the id may be known from a session of the other service.
        AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
        if (found == serviceNodes.end()) {
            ORVA_LOGE("RemoveService service %s is not create", serviceId.c_str());
            return;
        }
        serviceNodes.erase(found);
    }
    sp<IAIServiceListener> listener;
    {
        MutexLock lock(listenerMutex);
        listener = ForgetClient(serviceId);
    }
    ORVA_LOGI("AIServiceHIDL RemoveService %s Complete", serviceId.c_str());
}

Return<void> AIServiceHIDL::debug(const hidl_handle& handle, const hidl_vec<hidl_string>& options) {
    DumpState(activity_, handle, options);
    return Void();
}

}  // namespace orva::hidl

// The platform's service host looks this name up. Any instance name gets the one service.
extern "C" __attribute__((visibility("default"))) orva::hidl::IAIService_hidl*
HIDL_FETCH_IAIService(const char* /*instanceName*/) {
    return orva::hidl::AIServiceHIDL::GetInstance();
}
