/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <orva/AIContext.h>
#include <orva/AIModelManager.h>
#include <orva/IAITensor.h>

#include "common/Interfaces.h"
#include "common/Log.h"
#include "common/Mutex.h"
#include "debug/ServiceActivity.h"
#include "debug/StateDump.h"
#include "modelmanager/CallbackMutex.h"
#include "modelmanager/LogTag.h"
#include "modelmanager/ModelManagerClientListener.h"
#include "modelmanager/ModelManagerServiceDeathRecipient.h"

namespace orva::hidl {

// The model manager service: one framework model manager a session, requests, questions and
// builds passed on to it, its results passed back to the client's listener. IModelManagerService
// says what each method means to a client.
//
// A session exists while its service id (MakeServiceId) is a key of modelManagers. Every operation
// may be called from any thread. No operation holds the two mutexes together; a client that calls
// from inside its callback has the second one held for it all the while.
class ModelManagerServiceHIDL : public IModelManagerService_hidl {
public:
    static constexpr const char* kLogTag = kManagerTag;

    // The service that the process offers, made by the first call. It lives until the process
    // exits, or as long as somebody holds a reference beyond that.
    static ModelManagerServiceHIDL* GetInstance();

    ModelManagerServiceHIDL() = default;

    // Sessions: ModelManagerServiceHIDL.cpp.
    android::hardware::Return<int32_t> Init(
            int32_t clientId, const android::hardware::hidl_string& serviceType,
            const android::hardware::hidl_string& config,
            const android::hardware::hidl_vec<ModelBuffer>& models) override;
    android::hardware::Return<void> UnInit(int32_t clientId) override;
    // Ends a session: drops its model manager, its listener and its death recipient.
    void RemoveService(const std::string& serviceId) ORVA_EXCLUDES(managerMutex);

    // Listeners and events: ModelManagerEvents.cpp.
    android::hardware::Return<int32_t> SetListener(
            int32_t clientId, const android::sp<IModelManagerListener>& listener) override;
    // Delivers one result to a session's listener; dropped when there is none. One delivery at a
    // time: the listener is called with listenerMutex held. The outputs must live until this
    // returns.
    void OnProcessDone(const std::string& serviceId, const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs)
            ORVA_EXCLUDES(managerMutex);

    // Requests: ModelManagerRequests.cpp.
    android::hardware::Return<int32_t> Process(
            int32_t clientId, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<AITensorHandle>& inputs,
            const android::hardware::hidl_vec<AITensorHandle>& outputs,
            int32_t processArg) override;
    android::hardware::Return<int32_t> SetInputsAndOutputs(
            int32_t clientId, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<AITensorHandle>& inputs,
            const android::hardware::hidl_vec<AITensorHandle>& outputs) override;
    android::hardware::Return<int32_t> StartCompute(
            int32_t clientId, const android::hardware::hidl_string& context) override;

    // Questions about a session's models: ModelManagerQueries.cpp.
    android::hardware::Return<int32_t> GetMaxUsedMemory(int32_t clientId) override;
    android::hardware::Return<void> GetModelIOTensorDim(
            int32_t clientId, const android::hardware::hidl_string& modelName,
            GetModelIOTensorDim_cb _hidl_cb) override;
    android::hardware::Return<int32_t> CheckModelValid(int32_t clientId) override;

    // ModelManagerCompatibility.cpp.
    android::hardware::Return<int32_t> CheckModelCompatibility(int32_t clientId,
                                                               const ModelBuffer& model) override;

    // ModelManagerBuilding.cpp.
    android::hardware::Return<void> BuildModel(
            int32_t clientId, const android::hardware::hidl_string& context, uint32_t buildParam,
            const android::hardware::hidl_vec<ModelBuffer>& inputModels,
            const ModelBuffer& outputModel, BuildModel_cb _hidl_cb) override;

    // Writes the service's state to a client's descriptor; see DumpState.
    android::hardware::Return<void> debug(
            const android::hardware::hidl_handle& handle,
            const android::hardware::hidl_vec<android::hardware::hidl_string>& options) override;

private:
    // What a call takes with it of its session.
    struct Session {
        std::shared_ptr<AIModelManager> manager;
        std::shared_ptr<SessionActivity> activity;
    };

    ~ModelManagerServiceHIDL() override;

    // The session that a method asks for; nothing, with a line in the log that names the method,
    // when there is none.
    Session TakeSession(const std::string& serviceId, const LogSource& method)
            ORVA_EXCLUDES(managerMutex);
    // Both null when there is no such session.
    Session FindSession(const std::string& serviceId) ORVA_REQUIRES(managerMutex);
    // Nothing while the sessions are locked.
    std::optional<std::vector<SessionState>> SessionStates();

    std::map<std::string, android::sp<IModelManagerListener>> clientListeners
            ORVA_GUARDED_BY(listenerMutex);
    std::map<std::string, std::shared_ptr<AIModelManager>> modelManagers
            ORVA_GUARDED_BY(managerMutex);
    std::map<std::string, android::sp<ModelManagerServiceDeathRecipient>> deathRecipients
            ORVA_GUARDED_BY(listenerMutex);
    Mutex managerMutex;
    CallbackMutex listenerMutex;
    // Stays empty, so that each SetListener gives the model manager a fresh listener.
    std::map<std::string, std::shared_ptr<ModelManagerClientListener>> frameworkListeners
            ORVA_GUARDED_BY(listenerMutex);

    // What the state dump shows of each session; the same keys as modelManagers.
    SessionActivities sessionActivities ORVA_GUARDED_BY(managerMutex);
    ServiceActivity activity;
};

}  // namespace orva::hidl
