/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The service object and its sessions.

#include "modelmanager/ModelManagerServiceHIDL.h"

#include <orva/AIModelManagerFactory.h>
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

namespace {

// A session more is let in than the log says.
constexpr size_t kMaxSessions = 201;
constexpr int kLoggedMaxSessions = 200;

}  // namespace

ModelManagerServiceHIDL* ModelManagerServiceHIDL::GetInstance() {
    // The reference held here is what keeps a client's last release from destroying the service,
    // and a client that lets go only after process exit has begun finds it alive.
    static const sp<ModelManagerServiceHIDL> service = new ModelManagerServiceHIDL;
    return service.get();
}

ModelManagerServiceHIDL::~ModelManagerServiceHIDL() {
    {
        MutexLock lock(managerMutex);
        modelManagers.clear();
        sessionActivities.clear();
    }
    CallbackLock lock(listenerMutex);
    clientListeners.clear();
    deathRecipients.clear();
}

ModelManagerServiceHIDL::Session ModelManagerServiceHIDL::FindSession(
        const std::string& serviceId) {
    const auto found = modelManagers.find(serviceId);
    return found == modelManagers.end() ? Session{}
                                        : Session{found->second, sessionActivities[serviceId]};
}

ModelManagerServiceHIDL::Session ModelManagerServiceHIDL::TakeSession(const std::string& serviceId,
                                                                      const LogSource& method) {
    MutexLock lock(managerMutex);
    Session session = FindSession(serviceId);
    if (session.manager == nullptr) {
        activity.Refuse(Refusal::kNoSession);
        ORVA_LOG_FROM(method, ANDROID_LOG_ERROR, kManagerTag, "%s service %s is not create",
                      method.function, serviceId.c_str());
    }
    return session;
}

Return<int32_t> ModelManagerServiceHIDL::Init(int32_t clientId, const hidl_string& serviceType,
                                              const hidl_string& config,
                                              const hidl_vec<ModelBuffer>& models) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL Init");
    if (!AdmitClient(*this, ORVA_HERE)) {
        activity.Refuse(Refusal::kClientLimit);
        return kStatusFailure;
    }

    const std::string serviceId = MakeServiceId(clientId);
    std::shared_ptr<SessionActivity> opened;
    {
        // Held until the model manager is ready: initialisations go one after the other, and a
        // request never finds one that is not done.
        MutexLock lock(managerMutex);
        if (modelManagers.size() >= kMaxSessions) {
            ORVA_LOGI(kManagerTag, "AIModelManagerImpl count more than %d", kLoggedMaxSessions);
            activity.Refuse(Refusal::kSessionLimit);
            return kStatusFailure;
        }
        ORVA_LOGI(kManagerTag, "create AIService type %s", serviceType.c_str());
        if (modelManagers.count(serviceId) != 0) {
            // A success: a client that opens twice keeps the session that it has.
            ORVA_LOGE(kManagerTag, "Init service %s is already create", serviceId.c_str());
            return kStatusSuccess;
        }
        const std::shared_ptr<AIModelManager> manager(
                AIModelManagerFactory::Instance()->createModelManager());
        if (manager == nullptr) {
            ORVA_LOGE(kManagerTag, "create AIService type %s error", serviceType.c_str());
            activity.Refuse(Refusal::kUnknownType);
            return kStatusFailure;
        }
        modelManagers[serviceId] = manager;
        opened = std::make_shared<SessionActivity>(activity, serviceType.c_str());
        sessionActivities[serviceId] = opened;

        // The session stays whatever happens from here on, until the client ends it or its time
        // runs out.
        AIConfig managerConfig;
        managerConfig.ParseFromString(config);
        std::vector<AIModelDescription> descriptions;
        if (!ReadModels(models, descriptions)) {
            ORVA_LOGE(kManagerTag, "mmap fail");
            activity.Refuse(Refusal::kModelRegion);
            return kStatusFailure;
        }
        const int32_t status = manager->Init(managerConfig, descriptions);
        if (status != kStatusSuccess) {
            ORVA_LOGE(kManagerTag, "Service init failed");
            activity.Refuse(Refusal::kInit);
            return status;
        }
    }
    UpdateServiceTime(serviceId, *opened);
    return kStatusSuccess;
}

Return<void> ModelManagerServiceHIDL::UnInit(int32_t clientId) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL UnInit");
    RemoveService(MakeServiceId(clientId));
    return Void();
}

void ModelManagerServiceHIDL::RemoveService(const std::string& serviceId) {
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL RemoveService %s", serviceId.c_str());
    {
        MutexLock lock(managerMutex);
        if (modelManagers.erase(serviceId) == 0) {
            ORVA_LOGE(kManagerTag, "RemoveService service %s is not create", serviceId.c_str());
            return;
        }
        EndSession(sessionActivities, serviceId);
    }
    sp<IModelManagerListener> listener;
    {
        CallbackLock lock(listenerMutex);
        listener = ForgetClient(serviceId, clientListeners, deathRecipients);
        AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
    }
    ORVA_LOGI(kManagerTag, "ModelManagerServiceHIDL RemoveService %s Complete", serviceId.c_str());
}

}  // namespace orva::hidl

// The platform's service host looks this name up. Any instance name gets the one service.
extern "C" __attribute__((visibility("default"))) orva::hidl::IModelManagerService_hidl*
HIDL_FETCH_IModelManagerService(const char* /*instanceName*/) {
    return orva::hidl::ModelManagerServiceHIDL::GetInstance();
}
