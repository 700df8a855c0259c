/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ModelManager.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include <orva/reference/NodeStatus.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Mutex.h"
#include "executor/RequestQueue.h"
#include "executor/Work.h"
#include "manager/Delivery.h"
#include "manager/ModelBuild.h"
#include "manager/ModelSet.h"
#include "service/InitOnce.h"

namespace orva::reference {

namespace {

using Tensors = std::vector<std::shared_ptr<IAITensor>>;

// What a context names.
std::string ModelOf(const AIContext& context) {
    return context.GetPara("model");
}

std::vector<AIModelIOTensor> DimensionsOf(const std::vector<EngineTensor>& tensors) {
    std::vector<AIModelIOTensor> result;
    for (const EngineTensor& tensor : tensors) {
        int32_t dims[4] = {1, 1, 1, 1};
        for (size_t i = 0; i < tensor.dims.size(); ++i) {
            int32_t& dim = dims[std::min<size_t>(i, 3)];
            dim = dim < 0 || tensor.dims[i] < 0 ? -1 : dim * static_cast<int32_t>(tensor.dims[i]);
        }
        result.push_back({dims[0], dims[1], dims[2], dims[3], tensor.name, tensor.dataType});
    }
    return result;
}

}  // namespace

struct ModelManager::Core {
    // Tensors that stay here count to their client as those of requests do.
    struct Binding {
        Binding(const std::shared_ptr<Client>& owner, const Tensors& in, const Tensors& out)
                : client(owner), inputs(in), outputs(out) {}
        ~Binding() {
            if (counted) {
                client->tensors.Give(inputs.size() + outputs.size());
            }
        }
        Binding(const Binding&) = delete;
        Binding& operator=(const Binding&) = delete;

        const std::shared_ptr<Client> client;
        const Tensors inputs;
        const Tensors outputs;
        // False, with a line in the log, when the client would have too many.
        const bool counted = client->tensors.Take(inputs.size() + outputs.size());
    };

    explicit Core(Executor& executor)
            : queue(std::make_shared<RequestQueue<AIModelManagerListener>>(
                      executor, "IModelManagerService")) {}

    int32_t Load(const AIConfig& config, const std::vector<AIModelDescription>& descriptions,
                 Cancellation& cancellation);
    // The model of a name; null, with a line in the log, when there is none.
    std::shared_ptr<OnnxRunner> Find(const std::string& name) const;
    // False, with a line in the log, before there are models and a listener.
    bool TakesRequests() const;
    // Gives a request the tensors that are bound to the model. False, with a line in the log, when
    // none are.
    bool TakeBinding(const OnnxRunner& model, Request& request) const;
    int32_t Post(const std::shared_ptr<OnnxRunner>& model, Request request) const;

    const std::shared_ptr<RequestQueue<AIModelManagerListener>> queue;
    InitOnce init;
    mutable Mutex mutex;
    // Null before a successful Init.
    std::shared_ptr<const ModelSet> models ORVA_GUARDED_BY(mutex);
    std::map<const OnnxRunner*, std::unique_ptr<const Binding>> bindings ORVA_GUARDED_BY(mutex);
};

int32_t ModelManager::Core::Load(const AIConfig& config,
                                 const std::vector<AIModelDescription>& descriptions,
                                 Cancellation& cancellation) {
    RunnerConfig runnerConfig;
    if (!runnerConfig.Read(config)) {
        return kNodeBadConfig;
    }
    const auto set = std::make_shared<ModelSet>(runnerConfig);
    for (size_t i = 0; i < descriptions.size(); ++i) {
        try {
            set->Add(descriptions[i], cancellation);
        } catch (const std::exception& error) {
            ORVA_LOGE("model %zu (%s): %s", i, OneLine(descriptions[i].name()).c_str(),
                      OneLine(error.what()).c_str());
            return kNodeBadModel;
        }
    }
    queue->SetConcurrency(runnerConfig.concurrency);
    queue->TellTimes(config.GetPara("times") == "true");
    MutexLock lock(mutex);
    models = set;
    return kNodeOk;
}

std::shared_ptr<OnnxRunner> ModelManager::Core::Find(const std::string& name) const {
    std::shared_ptr<const ModelSet> set;
    {
        MutexLock lock(mutex);
        set = models;
    }
    if (set == nullptr) {
        ORVA_LOGE("no models before a successful initialisation");
        return nullptr;
    }
    return set->Find(name);
}

bool ModelManager::Core::TakesRequests() const {
    const bool initialised = init.done();
    if (!initialised || !queue->HasListener()) {
        ORVA_LOGE("a request before the model manager has %s",
                  initialised ? "a listener" : "been initialised");
        return false;
    }
    return true;
}

bool ModelManager::Core::TakeBinding(const OnnxRunner& model, Request& request) const {
    MutexLock lock(mutex);
    const auto bound = bindings.find(&model);
    if (bound == bindings.end()) {
        ORVA_LOGE("nothing is bound");
        return false;
    }
    request.inputs = bound->second->inputs;
    request.outputs = bound->second->outputs;
    return true;
}

int32_t ModelManager::Core::Post(const std::shared_ptr<OnnxRunner>& model, Request request) const {
    return queue->Post(std::move(request), [model](Request& taken, Cancellation& cancellation) {
        return model->Run(taken, cancellation);
    });
}

ModelManager::ModelManager(std::shared_ptr<Executor> executor)
        : executor_(std::move(executor)), core_(std::make_unique<Core>(*executor_)) {}

ModelManager::~ModelManager() {
    core_->queue->Close();
}

int32_t ModelManager::Init(const AIConfig& config, std::vector<AIModelDescription>& models) {
    const LogSubject subject(core_->queue->Session());
    return core_->init.Try([&] {
        Work work(core_->queue->client(), LoadTimeout());
        return work.Outcome(core_->Load(config, models, work.cancellation()));
    });
}

int32_t ModelManager::Process(AIContext& context, const Tensors& inputs, const Tensors& outputs,
                              int32_t processArg) {
    const LogSubject subject(core_->queue->SessionOfCall());
    return Guarded("request refused", [&]() -> int32_t {
        if (!core_->TakesRequests()) {
            return kNodeNotReady;
        }
        const auto model = core_->Find(ModelOf(context));
        Request request{context, inputs, outputs, processArg};
        const int32_t status = model != nullptr ? model->Check(request) : kNodeBadRequest;
        return status == kNodeOk ? core_->Post(model, std::move(request)) : status;
    });
}

int32_t ModelManager::RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) {
    return core_->queue->SetListener(
            listener != nullptr ? std::make_shared<Delivery>(listener, core_->queue->client())
                                : nullptr);
}

int32_t ModelManager::GetModelIOTensorDim(const std::string& modelName,
                                          std::vector<AIModelIOTensor>& inputs,
                                          std::vector<AIModelIOTensor>& outputs) {
    const LogSubject subject(core_->queue->Session());
    return Guarded("dimensions refused", [&]() -> int32_t {
        const auto model = core_->Find(modelName);
        if (model == nullptr) {
            return kNodeBadRequest;
        }
        const std::vector<AIModelIOTensor> in = DimensionsOf(model->engine().inputs());
        const std::vector<AIModelIOTensor> out = DimensionsOf(model->engine().outputs());
        inputs.insert(inputs.end(), in.begin(), in.end());
        outputs.insert(outputs.end(), out.begin(), out.end());
        return kNodeOk;
    });
}

int32_t ModelManager::CheckModelCompatibility(const AIModelDescription& model) {
    const LogSubject subject(core_->queue->Session());
    return Guarded(
            "model refused",
            [&] {
                Work work(core_->queue->client(), LoadTimeout());
                ModelSet().Add(model, work.cancellation());
                return kNodeOk;
            },
            kNodeBadModel);
}

int32_t ModelManager::GetMaxUsedMemory() {
    MutexLock lock(core_->mutex);
    return core_->models != nullptr ? static_cast<int32_t>(core_->models->memory()) : 0;
}

int32_t ModelManager::BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                                 const MappedBuffer& output, uint32_t& outputModelSize) {
    const LogSubject subject(core_->queue->Session());
    return Guarded(
            "build failed",
            [&] {
                Work work(core_->queue->client(), LoadTimeout());
                return work.Outcome(BuildModels(buildParam, inputs, output, outputModelSize,
                                                work.cancellation()));
            },
            kNodeBadModel);
}

int32_t ModelManager::CheckModelValid() {
    const LogSubject subject(core_->queue->Session());
    const int32_t status = core_->init.status();
    if (status != kNodeOk) {
        ORVA_LOGE("the models' initialisation has answered %d", status);
    }
    return status;
}

int32_t ModelManager::SetInputsAndOutputs(AIContext& context, const Tensors& inputs,
                                          const Tensors& outputs) {
    const LogSubject subject(core_->queue->SessionOfCall());
    return Guarded("binding refused", [&]() -> int32_t {
        const auto model = core_->Find(ModelOf(context));
        if (model == nullptr) {
            return core_->init.done() ? kNodeBadRequest : kNodeNotReady;
        }
        const int32_t status = model->Check({context, inputs, outputs, 0});
        if (status != kNodeOk) {
            return status;
        }
        // What was bound is let go of outside the lock.
        auto binding =
                std::make_unique<const Core::Binding>(core_->queue->client(), inputs, outputs);
        if (!binding->counted) {
            return kNodeBusy;
        }
        MutexLock lock(core_->mutex);
        std::swap(core_->bindings[model.get()], binding);
        lock.Unlock();
        return kNodeOk;
    });
}

int32_t ModelManager::StartCompute(AIContext& context) {
    const LogSubject subject(core_->queue->SessionOfCall());
    return Guarded("start refused", [&]() -> int32_t {
        if (!core_->TakesRequests()) {
            return kNodeNotReady;
        }
        const auto model = core_->Find(ModelOf(context));
        if (model == nullptr) {
            return kNodeBadRequest;
        }
        Request request{context, {}, {}, 0};
        return core_->TakeBinding(*model, request) ? core_->Post(model, std::move(request))
                                                   : kNodeNotReady;
    });
}

}  // namespace orva::reference
