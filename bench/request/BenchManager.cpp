/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchManager.h"

#include <memory>
#include <utility>

#include <orva/AIModelManager.h>
#include <orva/reference/ModelManagerRegistry.h>
#include <orva/reference/ServiceNode.h>

#include "request/IdleHandler.h"

namespace orva_bench {

namespace {

using orva::AIContext;
using orva::AIModelIOTensor;
using orva::AIModelManagerListener;
using orva::MappedBuffer;
using Tensors = std::vector<std::shared_ptr<orva::IAITensor>>;

class ToManagerListener : public orva::AIServiceListener {
public:
    explicit ToManagerListener(std::shared_ptr<AIModelManagerListener> listener)
            : listener_(std::move(listener)) {}

    void OnProcessDone(const AIContext& context, int32_t result, const Tensors& outputs) override {
        listener_->OnProcessDone(context, result, outputs);
    }
    void OnServiceDied() override { listener_->OnServiceDied(); }

private:
    const std::shared_ptr<AIModelManagerListener> listener_;
};

// A node does what both have in common. One client's calls come one at a time, so that what is
// bound needs no lock.
class BenchManager : public orva::AIModelManager {
public:
    int32_t Init(const orva::AIConfig& config,
                 std::vector<orva::AIModelDescription>& models) override {
        return node_.Init(config, models);
    }
    int32_t Process(AIContext& context, const Tensors& inputs, const Tensors& outputs,
                    int32_t processArg) override {
        return node_.Process(context, inputs, outputs, processArg);
    }
    int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) override {
        return node_.RegisterListener(std::make_shared<ToManagerListener>(listener));
    }
    int32_t GetModelIOTensorDim(const std::string&, std::vector<AIModelIOTensor>&,
                                std::vector<AIModelIOTensor>&) override {
        return orva::reference::kNodeOk;
    }
    int32_t CheckModelCompatibility(const orva::AIModelDescription&) override {
        return orva::reference::kNodeOk;
    }
    int32_t GetMaxUsedMemory() override { return 0; }
    int32_t BuildModel(int32_t, const std::vector<MappedBuffer>&, const MappedBuffer& output,
                       uint32_t& outputModelSize) override {
        outputModelSize = output.length;
        return orva::reference::kNodeOk;
    }
    int32_t CheckModelValid() override { return orva::reference::kNodeOk; }
    int32_t SetInputsAndOutputs(AIContext&, const Tensors& inputs,
                                const Tensors& outputs) override {
        inputs_ = inputs;
        outputs_ = outputs;
        return orva::reference::kNodeOk;
    }
    int32_t StartCompute(AIContext& context) override {
        return node_.Process(context, inputs_, outputs_, 0);
    }

private:
    orva::reference::ServiceNode node_{std::make_unique<IdleHandler>()};
    Tensors inputs_;
    Tensors outputs_;
};

}  // namespace

void useBenchManagers() {
    orva::reference::SetModelManagerCreator([] { return new BenchManager; });
}

}  // namespace orva_bench
