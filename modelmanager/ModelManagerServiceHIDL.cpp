/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The service object and its sessions.

#include "modelmanager/ModelManagerServiceHIDL.h"

#include <cstddef>

#include <orva/AIConfig.h>
#include <orva/AIModelDescription.h>
#include <orva/AIModelManagerFactory.h>
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

namespace {

// A session more is let in than the log says.
constexpr size_t kMaxSessions = 201;
constexpr int kLoggedMaxSessions = 200;

}  // namespace

ModelManagerServiceHIDL::~ModelManagerServiceHIDL() {
    {
        MutexLock lock(managerMutex);
        modelManagers.clear();
    }
    MutexLock lock(listenerMutex);
    clientListeners.clear();
    deathRecipients.clear();
}

Return<int32_t> ModelManagerServiceHIDL::Init(int32_t clientId, const hidl_string& serviceType,
                                              const hidl_string& config,
                                              const hidl_vec<ModelBuffer>& models) {
    ORVA_LOGI("ModelManagerServiceHIDL Init");
    const std::string serviceId = MakeServiceId(clientId);
    if (!AdmitClient(serviceId)) {
        return kStatusFailure;
    }

    ManagerSession session;
    {
        // Held until the model manager is ready: initialisations go one after the other, and a
        // request never finds one that is not done.
        MutexLock lock(managerMutex);
        if (modelManagers.size() >= kMaxSessions) {
            const LogSource here = {__func__, __LINE__, ANDROID_LOG_INFO};
            return activity_.Refuse(here, kStatusFailure, serviceId,
                                    "AIModelManagerImpl count more than %d", kLoggedMaxSessions);
        }
        ORVA_LOGI("create AIService type %s", serviceType.c_str());
        if (modelManagers.count(serviceId) != 0) {
            // A success: a client that opens twice keeps the session that it has.
            ORVA_LOGE("Init service %s is already create", serviceId.c_str());
            return kStatusSuccess;
        }
        session.framework.reset(AIModelManagerFactory::Instance()->createModelManager());
        if (session.framework == nullptr) {
            return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId,
                                    "create AIService type %s error", serviceType.c_str());
        }
        session.record = std::make_shared<SessionRecord>(activity_, serviceId, serviceType);
        modelManagers[serviceId] = session;

        // The session stays whatever happens from here on, until the client ends it or its time
        // runs out.
        AIConfig managerConfig;
        managerConfig.ParseFromString(config);
        std::vector<AIModelDescription> descriptions;
        if (!ReadModels(models, descriptions)) {
            session.record->Opened(false);
            return activity_.Refuse(ORVA_HERE, kStatusFailure, serviceId, "mmap fail");
        }
        const int32_t status = session.framework->Init(managerConfig, descriptions);
        session.record->Opened(status == kStatusSuccess);
        if (status != kStatusSuccess) {
            return activity_.Refuse(ORVA_HERE, status, serviceId, "Service init failed");
        }
    }
    UpdateServiceTime(serviceId, *session.record);
    return kStatusSuccess;
}

Return<void> ModelManagerServiceHIDL::UnInit(int32_t clientId) {
    ORVA_LOGI("ModelManagerServiceHIDL UnInit");
    RemoveService(MakeServiceId(clientId));
    return Void();
}

void ModelManagerServiceHIDL::RemoveService(const std::string& serviceId) {
    ORVA_LOGI("ModelManagerServiceHIDL RemoveService %s", serviceId.c_str());
    {
        MutexLock lock(managerMutex);
        // Before its time is removed: whoever still uses the session then sees that it must not
        // leave one.
        if (!EndSession(modelManagers, serviceId)) {
            ORVA_LOGE("RemoveService service %s is not create", serviceId.c_str());
            return;
        }
    }
    sp<IModelManagerListener> listener;
    {
        MutexLock lock(listenerMutex);
        listener = ForgetClient(serviceId);
        AIServiceConnectManager::GetInstance()->RemoveServiceTime(serviceId);
    }
    ORVA_LOGI("ModelManagerServiceHIDL RemoveService %s Complete", serviceId.c_str());
}

Return<void> ModelManagerServiceHIDL::debug(const hidl_handle& handle,
                                            const hidl_vec<hidl_string>& options) {
    DumpState(activity_, handle, options);
    return Void();
}

}  // namespace orva::hidl

// The platform's service host looks this name up. Any instance name gets the one service.
extern "C" __attribute__((visibility("default"))) orva::hidl::IModelManagerService_hidl*
HIDL_FETCH_IModelManagerService(const char* /*instanceName*/) {
    return orva::hidl::ModelManagerServiceHIDL::GetInstance();
}
