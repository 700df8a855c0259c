/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The service object and its sessions; requests and results are in AIServiceRequests.cpp.

#include "aiservice/AIServiceHIDL.h"

#include <orva/AINNNodeFactory.h>
#include <orva/AIServiceConnectManager.h>

#include "common/ClientAdmission.h"
#include "common/Log.h"
#include "common/ModelBuffers.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
#include "common/StatusCodes.h"

namespace orva::hidl {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

AIServiceHIDL* AIServiceHIDL::GetInstance() {
    // The reference held here is what keeps a client's last release from destroying the service,
    // and a client that lets go only after process exit has begun finds it alive.
    static const sp<AIServiceHIDL> service = new AIServiceHIDL;
    return service.get();
}

AIServiceHIDL::Session AIServiceHIDL::FindSession(const std::string& serviceId) {
    const auto found = serviceNodes.find(serviceId);
    return found == serviceNodes.end() ? Session{}
                                       : Session{found->second, sessionActivities[serviceId]};
}

Return<int32_t> AIServiceHIDL::Init(int32_t clientId, const hidl_string& type,
                                    const hidl_string& config,
                                    const hidl_vec<ModelBuffer>& models) {
    ORVA_LOGI(kServiceTag, "AIServiceHIDL Init");
    if (!AdmitClient(*this, ORVA_HERE)) {
        activity.Refuse(Refusal::kClientLimit);
        return kStatusFailure;
    }

    std::string serviceId;
    Session session;
    {
        MutexLock lock(serviceMutex);
        serviceId = MakeServiceId(clientId);
        if (serviceNodes.count(serviceId) != 0) {
            // A success: a client that opens twice keeps the session that it has.
            ORVA_LOGE(kServiceTag, "Init service %s is already create", serviceId.c_str());
            return kStatusSuccess;
        }
        const std::string nodeType = type;
        session.node = AINNNodeFactory::GetInstance()->CreateNNNode(nodeType);
        if (session.node == nullptr) {
            ORVA_LOGE(kServiceTag, "create AIService type %s error", nodeType.c_str());
            activity.Refuse(Refusal::kUnknownType);
            return kStatusFailure;
        }
        session.node->CreateIdleTimer();
        session.activity = std::make_shared<SessionActivity>(activity, nodeType.c_str());
        serviceNodes[serviceId] = session.node;
        sessionActivities[serviceId] = session.activity;
    }

    // The session exists from here on, but a slow initialisation must not hold up other clients.
    AIConfig nodeConfig;
    nodeConfig.ParseFromString(config.c_str());
    std::vector<AIModelDescription> descriptions;
    if (!ReadModels(models, descriptions)) {
        // The session stays as it is, until the client ends it or its time runs out.
        ORVA_LOGE(kServiceTag, "mmap fail");
        activity.Refuse(Refusal::kModelRegion);
        return kStatusFailure;
    }
    const int32_t status = session.node->Init(nodeConfig, descriptions);
    if (status == kStatusSuccess) {
        UpdateServiceTime(serviceId, *session.activity);
        return kStatusSuccess;
    }

    ORVA_LOGE(kServiceTag, "Service init failed");
    activity.Refuse(Refusal::kInit);
    MutexLock lock(serviceMutex);
    serviceNodes.erase(serviceId);
    EndSession(sessionActivities, serviceId);
    AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
    return status;
}

Return<void> AIServiceHIDL::UnInit(int32_t clientId) {
    ORVA_LOGI(kServiceTag, "AIServiceHIDL UnInit");
    RemoveService(MakeServiceId(clientId));
    return Void();
}

void AIServiceHIDL::RemoveService(const std::string& serviceId) {
    ORVA_LOGI(kServiceTag, "AIServiceHIDL RemoveService %s", serviceId.c_str());
    {
        MutexLock lock(serviceMutex);
        EndSession(sessionActivities, serviceId);
        // Also without a session: the id may be known from a session of the other service.
        AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
        if (serviceNodes.erase(serviceId) == 0) {
            ORVA_LOGE(kServiceTag, "RemoveService service %s is not create", serviceId.c_str());
            return;
        }
    }
    sp<IAIServiceListener> listener;
    {
        MutexLock lock(listenerMutex);
        listener = ForgetClient(serviceId, clientListeners, deathRecipients);
    }
    ORVA_LOGI(kServiceTag, "AIServiceHIDL RemoveService %s Complete", serviceId.c_str());
}

}  // namespace orva::hidl

// The platform's service host looks this name up. Any instance name gets the one service.
extern "C" __attribute__((visibility("default"))) orva::hidl::IAIService_hidl*
HIDL_FETCH_IAIService(const char* /*instanceName*/) {
    return orva::hidl::AIServiceHIDL::GetInstance();
}
