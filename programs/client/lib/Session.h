/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/lib/Completions.h"
#include "client/lib/FindService.h"
#include "client/lib/ServiceError.h"
#include "client/lib/SharedRegion.h"
#include "client/lib/Tensor.h"

namespace orva::client {

// One model for a session to load: its description as text, its bytes in shared memory.
struct Model {
    std::string description;
    SharedRegion bytes;

    // As it travels; lends the descriptor, so valid as long as the model.
    vendor::selkat::hardware::ai::V2_0::ModelBuffer buffer() const;
};

// Models and tensors as they travel in a call; they lend their descriptors.
android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::ModelBuffer> buffersOf(
        const std::vector<Model>& models);
android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::AITensorHandle> handlesOf(
        const std::vector<Tensor>& tensors);
android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::AITensorHandle> handlesOf(
        const std::vector<const Tensor*>& tensors);

// An open session with its listener registered, closed with the object: what sessions of both
// services have. Every operation may be called from any thread; all throw ServiceError.
template <typename Service, typename Listener>
class BasicSession {
public:
    // `clientId` is the caller's number for it, unique within this process, from 1 on: the listener
    // is registered under the number's negation, which 0 has none of. `type` names the node, or
    // whatever the service calls what the session is with.
    BasicSession(android::sp<Service> service, int32_t clientId, const std::string& type,
                 const std::string& config, const std::vector<Model>& models);
    ~BasicSession();
    BasicSession(const BasicSession&) = delete;
    BasicSession& operator=(const BasicSession&) = delete;

    // Sends one request and returns once it is accepted.
    void send(const std::string& context, const std::vector<Tensor>& inputs,
              const std::vector<Tensor>& outputs, int32_t param = 0);
    // The same with tensors that lie wherever the caller keeps them.
    void send(const std::string& context, const std::vector<const Tensor*>& inputs,
              const std::vector<const Tensor*>& outputs, int32_t param = 0);
    // The next result, in the order of their arrival, waited for as setTimeLimit() says.
    Completion await();
    // The same, or nothing when none has come by then, for callers that look after something else
    // in between.
    std::optional<Completion> awaitFor(std::chrono::milliseconds limit);

protected:
    Service& service() const { return *service_; }
    int32_t clientId() const { return clientId_; }
    // Who can say why a call of this session was refused.
    Refuser refuser() const { return {service_, clientId_}; }

private:
    template <typename Tensors>
    void sendThese(const std::string& context, const Tensors& inputs, const Tensors& outputs,
                   int32_t param);
    void close();

    const android::sp<Service> service_;
    const int32_t clientId_;
    const android::sp<CompletionsOf<Listener>> completions_;
    android::sp<android::hardware::hidl_death_recipient> death_;
};

using Session = BasicSession<AIService, vendor::selkat::hardware::ai::V2_0::IAIServiceListener>;

}  // namespace orva::client
