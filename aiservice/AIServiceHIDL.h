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
#include <orva/AIServiceBase.h>
#include <orva/IAITensor.h>

#include "aiservice/AIServiceDeathRecipient.h"
#include "aiservice/LogTag.h"
#include "common/Interfaces.h"
#include "common/Mutex.h"
#include "debug/ServiceActivity.h"
#include "debug/StateDump.h"

namespace orva::hidl {

// The general AI service: one framework node a session, requests passed on to it, its results
// passed back to the client's listener. IAIService says what each method means to a client.
//
// A session exists while its service id (MakeServiceId) is a key of serviceNodes. Every operation
// may be called from any thread; the two mutexes are never held together, and clients are called
// with neither held.
class AIServiceHIDL : public IAIService_hidl {
public:
    static constexpr const char* kLogTag = kServiceTag;

    // The service that the process offers, made by the first call. It lives until the process
    // exits, or as long as somebody holds a reference beyond that.
    static AIServiceHIDL* GetInstance();

    AIServiceHIDL() = default;

    android::hardware::Return<int32_t> Init(
            int32_t clientId, const android::hardware::hidl_string& type,
            const android::hardware::hidl_string& config,
            const android::hardware::hidl_vec<ModelBuffer>& models) override;
    android::hardware::Return<int32_t> Process(
            int32_t clientId, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<AITensorHandle>& inputs,
            const android::hardware::hidl_vec<AITensorHandle>& outputs, int32_t param) override;
    android::hardware::Return<int32_t> SetListener(
            int32_t clientId, const android::sp<IAIServiceListener>& listener) override;
    android::hardware::Return<void> UnInit(int32_t clientId) override;

    // Delivers one result to a session's listener; dropped when there is none. The outputs must
    // live until this returns.
    void OnProcessDone(const std::string& serviceId, const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs)
            ORVA_EXCLUDES(serviceMutex, listenerMutex);

    // Ends a session: drops its node, its listener and its death recipient.
    void RemoveService(const std::string& serviceId) ORVA_EXCLUDES(serviceMutex, listenerMutex);

    // Writes the service's state to a client's descriptor; see DumpState.
    android::hardware::Return<void> debug(
            const android::hardware::hidl_handle& handle,
            const android::hardware::hidl_vec<android::hardware::hidl_string>& options) override;

private:
    // What a call takes with it of its session.
    struct Session {
        std::shared_ptr<AIServiceBase> node;
        std::shared_ptr<SessionActivity> activity;
    };

    ~AIServiceHIDL() override = default;

    // Both null when there is no such session.
    Session FindSession(const std::string& serviceId) ORVA_REQUIRES(serviceMutex);
    // Nothing while the sessions are locked.
    std::optional<std::vector<SessionState>> SessionStates();

    std::map<std::string, android::sp<IAIServiceListener>> clientListeners
            ORVA_GUARDED_BY(listenerMutex);
    std::map<std::string, std::shared_ptr<AIServiceBase>> serviceNodes
            ORVA_GUARDED_BY(serviceMutex);
    std::map<std::string, android::sp<AIServiceDeathRecipient>> deathRecipients
            ORVA_GUARDED_BY(listenerMutex);
    Mutex serviceMutex;
    Mutex listenerMutex;

    // What the state dump shows of each session; the same keys as serviceNodes.
    SessionActivities sessionActivities ORVA_GUARDED_BY(serviceMutex);
    ServiceActivity activity;
};

}  // namespace orva::hidl
