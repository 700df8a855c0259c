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
#include <orva/AIServiceBase.h>
#include <orva/AIServiceListener.h>
#include <orva/IAITensor.h>

#include "common/ClientService.h"
#include "common/CompletionListener.h"
#include "common/Interfaces.h"
#include "common/Mutex.h"
#include "common/Session.h"

namespace orva::hidl {

class AIServiceHIDL;
using AIServiceDeathRecipient = ClientDeathRecipient<AIServiceHIDL>;
using AIServiceClientListener = CompletionListener<AIServiceListener, AIServiceHIDL>;

// The general AI service: one framework node a session, requests passed on to it, its results
// passed back to the client's listener. IAIService says what each method means to a client, and
// each status that it may answer; 0 is success, 1 failure, 2 no session, any other the node's own.
//
// A session exists while its service id (MakeServiceId) is a key of serviceNodes. The service owns
// its sessions, listeners and recipients. Every operation may be called from any thread; the two
// mutexes are never held together. A client's listener is called with neither held, but linked to
// its recipient, and unlinked, under listenerMutex.
class AIServiceHIDL
        : public ClientService<AIServiceHIDL, IAIService_hidl, IAIServiceListener, Mutex> {
public:
    static constexpr const char* kLogTag = "AIServiceHIDL";

    AIServiceHIDL() : ClientService("IAIService") {}

    // Sessions: AIServiceHIDL.cpp.
    android::hardware::Return<int32_t> Init(
            int32_t clientId, const android::hardware::hidl_string& type,
            const android::hardware::hidl_string& config,
            const android::hardware::hidl_vec<ModelBuffer>& models) override
            ORVA_EXCLUDES(serviceMutex, listenerMutex);
    android::hardware::Return<void> UnInit(int32_t clientId) override
            ORVA_EXCLUDES(serviceMutex, listenerMutex);
    // Ends a session: drops its node, its listener and its death recipient. Only its time, where
    // there is none: the listener of an id without a session stays.
    void RemoveService(const std::string& serviceId) ORVA_EXCLUDES(serviceMutex, listenerMutex);

    // Requests, listeners and results: AIServiceRequests.cpp.
    android::hardware::Return<int32_t> Process(
            int32_t clientId, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<AITensorHandle>& inputs,
            const android::hardware::hidl_vec<AITensorHandle>& outputs, int32_t param) override
            ORVA_EXCLUDES(serviceMutex);
    android::hardware::Return<int32_t> SetListener(
            int32_t clientId, const android::sp<IAIServiceListener>& listener) override
            ORVA_EXCLUDES(serviceMutex, listenerMutex);
    // Delivers one result to a session's listener; dropped when there is none. The outputs must
    // live until this returns. Called by the node's listener, on whatever thread the node has.
    void OnProcessDone(const std::string& serviceId, const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs)
            ORVA_EXCLUDES(serviceMutex, listenerMutex);

    // Writes the service's state to a client's descriptor; see DumpState.
    android::hardware::Return<void> debug(
            const android::hardware::hidl_handle& handle,
            const android::hardware::hidl_vec<android::hardware::hidl_string>& options) override
            ORVA_EXCLUDES(serviceMutex, listenerMutex);

private:
    using NodeSession = Session<AIServiceBase>;

    ~AIServiceHIDL() override = default;

    // The two jobs of SetListener. The client's listener, for a session that need not exist.
    int32_t SetClientListener(const std::string& serviceId,
                              const android::sp<IAIServiceListener>& listener)
            ORVA_EXCLUDES(listenerMutex);
    // The node's, by which it reports to the service.
    int32_t SetNodeListener(const std::string& serviceId) ORVA_EXCLUDES(serviceMutex);

    // For what both services do alike.
    friend ClientService;
    std::map<std::string, NodeSession>& Sessions() ORVA_REQUIRES(serviceMutex) {
        return serviceNodes;
    }
    Mutex& SessionMutex() ORVA_RETURNS_MUTEX(serviceMutex) { return serviceMutex; }

    std::map<std::string, NodeSession> serviceNodes ORVA_GUARDED_BY(serviceMutex);
    Mutex serviceMutex;
};

}  // namespace orva::hidl
