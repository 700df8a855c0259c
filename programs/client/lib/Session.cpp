/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Session.h"

#include <orva_platform/Runtime.h>

namespace orva::client {

using android::sp;
using android::wp;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_vec;
using android::hardware::Return;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using vendor::selkat::hardware::ai::V2_1::IAIService;

namespace {

void require(const Return<int32_t>& answer, const std::string& asked) {
    if (!answer.isOk()) {
        throw ServiceError(asked + ": " + answer.description(), -1);
    }
    const int32_t status = answer;
    if (status != 0) {
        throw ServiceError(asked + " was refused with status " + std::to_string(status) +
                                   " (the host's log says why)",
                           status);
    }
}

// The handles lend the tensors' descriptors.
hidl_vec<AITensorHandle> handlesOf(const std::vector<Tensor>& tensors) {
    hidl_vec<AITensorHandle> handles;
    handles.resize(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        handles[i] = tensors[i].handle();
    }
    return handles;
}

// Ends a listener's wait when the service's process has gone.
class ServiceDeath : public hidl_death_recipient {
public:
    explicit ServiceDeath(const sp<Completions>& completions) : mCompletions(completions) {}

    void serviceDied(uint64_t, const wp<android::hidl::base::V1_0::IBase>&) override {
        mCompletions->end();
    }

private:
    const sp<Completions> mCompletions;
};

}  // namespace

sp<IAIService> findService(const std::string& instance) {
    sp<IAIService> service = IAIService::getService(instance);
    if (service == nullptr) {
        throw ServiceError("no AI service '" + instance + "' in " +
                                   orva_platform::serviceDirectory() +
                                   "; start orva-host, or name its folder with --socket-dir",
                           -1);
    }
    return service;
}

Session::Session(sp<IAIService> service, int32_t clientId, const std::string& nodeType,
                 const std::string& config, const std::vector<Model>& models)
        : mService(std::move(service)), mClientId(clientId), mCompletions(new Completions) {
    hidl_vec<ModelBuffer> buffers;
    buffers.resize(models.size());
    for (size_t i = 0; i < models.size(); ++i) {
        buffers[i].description = models[i].description;
        buffers[i].modelHandle = models[i].bytes.handle();
        buffers[i].size = models[i].bytes.size();
    }
    try {
        require(mService->Init(mClientId, nodeType, config, buffers),
                "opening a session on a node of type '" + nodeType + "'");
        mDeath = new ServiceDeath(mCompletions);
        mService->linkToDeath(mDeath, 0).isOk();
        require(mService->SetListener(-mClientId, mCompletions), "registering the listener");
        require(mService->SetListener(mClientId, nullptr), "asking the node for its results");
    } catch (...) {
        // Also when it was refused: the session of a model that could not be mapped is there.
        close();
        throw;
    }
}

Session::~Session() {
    close();
}

// The service may have gone already; then there is nothing to close.
void Session::close() {
    if (mDeath != nullptr) {
        mService->unlinkToDeath(mDeath).isOk();
    }
    mService->UnInit(mClientId).isOk();
}

void Session::send(const std::string& context, const std::vector<Tensor>& inputs,
                   const std::vector<Tensor>& outputs, int32_t param) {
    require(mService->Process(mClientId, context, handlesOf(inputs), handlesOf(outputs), param),
            "the request");
}

Completion Session::await(std::chrono::milliseconds limit) {
    auto completion = mCompletions->await(limit);
    if (!completion) {
        throw ServiceError("no result came: the service has died or takes too long", -1);
    }
    return std::move(*completion);
}

}  // namespace orva::client
