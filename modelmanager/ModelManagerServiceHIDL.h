/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <orva/AIContext.h>
#include <orva/AIModelManager.h>
#include <orva/AIModelManagerListener.h>
#include <orva/IAITensor.h>

#include "common/ClientService.h"
#include "common/CompletionListener.h"
#include "common/Interfaces.h"
#include "common/Mutex.h"
#include "common/Session.h"
#include "modelmanager/CallbackMutex.h"

namespace orva::hidl {

class ModelManagerServiceHIDL;
using ModelManagerServiceDeathRecipient = ClientDeathRecipient<ModelManagerServiceHIDL>;

// What a model manager reports to. Its events are logged before they are passed on.
class ModelManagerClientListener
        : public CompletionListener<AIModelManagerListener, ModelManagerServiceHIDL> {
public:
    using CompletionListener::CompletionListener;

    void OnProcessDone(const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs) override;
    void OnServiceDied() override;
};

// The model manager service: one framework model manager a session, requests, questions and
// builds passed on to it, its results passed back to the client's listener. IModelManagerService
// says what each method means to a client, and each status that it may answer; 0 is success, 1
// failure, 2 no session, any other the model manager's own.
//
// A session exists while its service id (MakeServiceId) is a key of modelManagers. The service owns
// its sessions, listeners and recipients. Every operation may be called from any thread. No
// operation holds the two mutexes together. A client's listener is called, linked and unlinked
// under listenerMutex, and a client that calls from inside its callback has it held all the while.
class ModelManagerServiceHIDL
        : public ClientService<ModelManagerServiceHIDL, IModelManagerService_hidl,
                               IModelManagerListener, CallbackMutex> {
public:
    static constexpr const char* kLogTag = "AIModelManagerServiceHIDL";

    ModelManagerServiceHIDL() : ClientService("IModelManagerService") {}

    // Sessions: ModelManagerServiceHIDL.cpp.
    android::hardware::Return<int32_t> Init(
            int32_t clientId, const android::hardware::hidl_string& serviceType,
            const android::hardware::hidl_string& config,
            const android::hardware::hidl_vec<ModelBuffer>& models) override;
    android::hardware::Return<void> UnInit(int32_t clientId) override;
    // Ends a session: drops its model manager, its listener and its death recipient. Nothing,
    // where there is none: the listener of an id without a session stays.
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
            const android::hardware::hidl_vec<android::hardware::hidl_string>& options) override
            ORVA_EXCLUDES(managerMutex);

private:
    using ManagerSession = Session<AIModelManager>;

    ~ModelManagerServiceHIDL() override;

    // The two jobs of SetListener. The client's listener, for a session that need not exist.
    int32_t SetClientListener(const std::string& serviceId,
                              const android::sp<IModelManagerListener>& listener);
    // The model manager's, by which it reports to the service.
    int32_t SetManagerListener(const std::string& serviceId) ORVA_EXCLUDES(managerMutex);
    // What the methods of those names do, as far as there is a callback to answer to. Nothing is
    // held any more when they return.
    void AnswerModelIOTensorDim(int32_t clientId, const std::string& modelName,
                                const GetModelIOTensorDim_cb& answer) ORVA_EXCLUDES(managerMutex);
    void BuildAndAnswer(int32_t clientId, const std::string& context, int32_t buildParam,
                        const android::hardware::hidl_vec<ModelBuffer>& inputModels,
                        const ModelBuffer& outputModel, const BuildModel_cb& answer)
            ORVA_EXCLUDES(managerMutex);

    // For what both services do alike.
    friend ClientService;
    std::map<std::string, ManagerSession>& Sessions() ORVA_REQUIRES(managerMutex) {
        return modelManagers;
    }
    Mutex& SessionMutex() ORVA_RETURNS_MUTEX(managerMutex) { return managerMutex; }

    std::map<std::string, ManagerSession> modelManagers ORVA_GUARDED_BY(managerMutex);
    Mutex managerMutex;
    // Stays empty, so that each SetListener gives the model manager a fresh listener.
    std::map<std::string, std::shared_ptr<ModelManagerClientListener>> frameworkListeners
            ORVA_GUARDED_BY(listenerMutex);
};

}  // namespace orva::hidl
