/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Session.h"

#include "client/lib/TimeLimit.h"

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

hidl_vec<AITensorHandle> handlesOf(const std::vector<const Tensor*>& tensors) {
    hidl_vec<AITensorHandle> handles;
    handles.resize(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        handles[i] = tensors[i]->handle();
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
        requireSuccess("opening a session of type '" + type + "'", refuser(),
                       [&] { return service_->Init(clientId_, type, config, buffersOf(models)); });
        death_ = new ServiceDeath<Listener>(completions_);
        service_->linkToDeath(death_, 0).isOk();
        requireSuccess("registering the listener", refuser(),
                       [&] { return service_->SetListener(-clientId_, completions_); });
        requireSuccess("asking for the results", refuser(),
                       [&] { return service_->SetListener(clientId_, nullptr); });
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
    sendThese(context, inputs, outputs, param);
}

template <typename Service, typename Listener>
void BasicSession<Service, Listener>::send(const std::string& context,
                                           const std::vector<const Tensor*>& inputs,
                                           const std::vector<const Tensor*>& outputs,
                                           int32_t param) {
    sendThese(context, inputs, outputs, param);
}

template <typename Service, typename Listener>
template <typename Tensors>
void BasicSession<Service, Listener>::sendThese(const std::string& context, const Tensors& inputs,
                                                const Tensors& outputs, int32_t param) {
    requireSuccess("the request", refuser(), [&] {
        return service_->Process(clientId_, context, handlesOf(inputs), handlesOf(outputs), param);
    });
}

template <typename Service, typename Listener>
Completion BasicSession<Service, Listener>::await() {
    const std::chrono::milliseconds limit = timeLimit();
    auto completion = awaitFor(limit.count() > 0 ? limit : CompletionQueue::kForEver);
    if (!completion) {
        throw ServiceError(tooLong("no result came", limit), -1);
    }
    return std::move(*completion);
}

template <typename Service, typename Listener>
std::optional<Completion> BasicSession<Service, Listener>::awaitFor(
        std::chrono::milliseconds limit) {
    auto completion = completions_->await(limit);
    if (!completion && completions_->hasEnded()) {
        throw ServiceError("the service died before a result came", -1);
    }
    return completion;
}

template class BasicSession<AIService, IAIServiceListener>;
template class BasicSession<ModelManagerService, IModelManagerListener>;

}  // namespace orva::client
