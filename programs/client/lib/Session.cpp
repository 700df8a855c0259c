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
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::IAIServiceListener;
using vendor::selkat::hardware::ai::V2_0::IModelManagerListener;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;

namespace {

// Ends a listener's wait when the service's process has gone.
template <typename Listener>
class ServiceDeath : public hidl_death_recipient {
public:
    explicit ServiceDeath(const sp<CompletionsOf<Listener>>& completions)
            : completions_(completions) {}

    void serviceDied(uint64_t, const wp<android::hidl::base::V1_0::IBase>&) override {
        completions_->end();
    }

private:
    const sp<CompletionsOf<Listener>> completions_;
};

}  // namespace

ModelBuffer Model::buffer() const {
    ModelBuffer buffer = {};
    buffer.description = description;
    buffer.modelHandle = bytes.handle();
    buffer.size = bytes.size();
    return buffer;
}

template <typename Service>
sp<Service> findService(const std::string& instance) {
    sp<Service> service = Service::getService(instance);
    if (service == nullptr) {
        throw ServiceError("no " + std::string(Service::descriptor) + " '" + instance + "' in " +
                                   orva_platform::serviceDirectory() +
                                   "; start orva-host, or name its folder with --socket-dir",
                           -1);
    }
    return service;
}

hidl_vec<ModelBuffer> buffersOf(const std::vector<Model>& models) {
    hidl_vec<ModelBuffer> buffers;
    buffers.resize(models.size());
    for (size_t i = 0; i < models.size(); ++i) {
        buffers[i] = models[i].buffer();
    }
    return buffers;
}

hidl_vec<AITensorHandle> handlesOf(const std::vector<Tensor>& tensors) {
    hidl_vec<AITensorHandle> handles;
    handles.resize(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        handles[i] = tensors[i].handle();
    }
    return handles;
}

template <typename Service, typename Listener>
BasicSession<Service, Listener>::BasicSession(sp<Service> service, int32_t clientId,
                                              const std::string& type, const std::string& config,
                                              const std::vector<Model>& models)
        : service_(std::move(service)),
          clientId_(clientId),
          completions_(new CompletionsOf<Listener>) {
    try {
        requireSuccess(service_->Init(clientId_, type, config, buffersOf(models)),
                       "opening a session of type '" + type + "'");
        death_ = new ServiceDeath<Listener>(completions_);
        service_->linkToDeath(death_, 0).isOk();
        requireSuccess(service_->SetListener(-clientId_, completions_), "registering the listener");
        requireSuccess(service_->SetListener(clientId_, nullptr), "asking for the results");
    } catch (...) {
        // Also when it was refused: the session of a model that could not be mapped is there.
        close();
        throw;
    }
}

template <typename Service, typename Listener>
BasicSession<Service, Listener>::~BasicSession() {
    close();
}

// The service may have gone already; then there is nothing to close.
template <typename Service, typename Listener>
void BasicSession<Service, Listener>::close() {
    if (death_ != nullptr) {
        service_->unlinkToDeath(death_).isOk();
    }
    service_->UnInit(clientId_).isOk();
}

template <typename Service, typename Listener>
void BasicSession<Service, Listener>::send(const std::string& context,
                                           const std::vector<Tensor>& inputs,
                                           const std::vector<Tensor>& outputs, int32_t param) {
    requireSuccess(
            service_->Process(clientId_, context, handlesOf(inputs), handlesOf(outputs), param),
            "the request");
}

template <typename Service, typename Listener>
Completion BasicSession<Service, Listener>::await(std::chrono::milliseconds limit) {
    auto completion = completions_->await(limit);
    if (!completion) {
        throw ServiceError("no result came: the service has died or takes too long", -1);
    }
    return std::move(*completion);
}

template sp<AIService> findService(const std::string&);
template sp<ModelManagerService> findService(const std::string&);
template class BasicSession<AIService, IAIServiceListener>;
template class BasicSession<ModelManagerService, IModelManagerListener>;

}  // namespace orva::client
