/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <vendor/selkat/hardware/ai/2.1/IAIService.h>

#include "client/lib/Completions.h"
#include "client/lib/SharedRegion.h"
#include "client/lib/Tensor.h"

namespace orva::client {

// What a service or its transport answered when it was not success; the message says what was asked
// and what came.
class ServiceError : public std::runtime_error {
public:
    ServiceError(const std::string& what, int32_t status)
            : std::runtime_error(what), mStatus(status) {}
    // The service's status; -1 when the transport failed.
    int32_t status() const { return mStatus; }

private:
    const int32_t mStatus;
};

// One model for a session to load: its description as text, its bytes in shared memory.
struct Model {
    std::string description;
    SharedRegion bytes;
};

// The service under an instance name. Throws ServiceError, saying how to start one, when nobody
// serves it.
android::sp<vendor::selkat::hardware::ai::V2_1::IAIService> findService(
        const std::string& instance = "default");

// An open session of the general AI service with its listener registered, closed with the object.
// Every operation may be called from any thread; all throw ServiceError.
class Session {
public:
    // `clientId` is the caller's number for it, unique within this process, from 1 on: the listener
    // is registered under the number's negation, which 0 has none of.
    Session(android::sp<vendor::selkat::hardware::ai::V2_1::IAIService> service, int32_t clientId,
            const std::string& nodeType, const std::string& config,
            const std::vector<Model>& models);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Sends one request and returns once the node has accepted it.
    void send(const std::string& context, const std::vector<Tensor>& inputs,
              const std::vector<Tensor>& outputs, int32_t param = 0);
    // The next result, in the order of their arrival.
    Completion await(std::chrono::milliseconds limit = std::chrono::seconds(60));

private:
    void close();

    const android::sp<vendor::selkat::hardware::ai::V2_1::IAIService> mService;
    const int32_t mClientId;
    const android::sp<Completions> mCompletions;
    android::sp<android::hardware::hidl_death_recipient> mDeath;
};

}  // namespace orva::client
