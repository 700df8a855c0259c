/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchManager.h"

#include <memory>
#include <utility>

#include <orva/AIModelManager.h>
#include <orva/reference/Executor.h>
#include <orva/reference/ModelManagerRegistry.h>
#include <orva/reference/NodeStatus.h>

namespace orva_bench {

namespace {

using orva::AIContext;
using orva::AIModelIOTensor;
using orva::AIModelManagerListener;
using orva::MappedBuffer;
using orva::reference::kNodeOk;
using Tensors = std::vector<std::shared_ptr<orva::IAITensor>>;

// One client's calls come one at a time, so that nothing here needs a lock.
class BenchManager : public orva::AIModelManager {
public:
    int32_t Init(const orva::AIConfig&, std::vector<orva::AIModelDescription>&) override {
        return kNodeOk;
    }
    int32_t Process(AIContext& context, const Tensors& inputs, const Tensors& outputs,
                    int32_t) override {
        return complete(context, inputs, outputs);
    }
    int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) override {
        listener_ = listener;
        return kNodeOk;
    }
    int32_t GetModelIOTensorDim(const std::string&, std::vector<AIModelIOTensor>&,
                                std::vector<AIModelIOTensor>&) override {
        return kNodeOk;
    }
    int32_t CheckModelCompatibility(const orva::AIModelDescription&) override { return kNodeOk; }
    int32_t GetMaxUsedMemory() override { return 0; }
    int32_t BuildModel(int32_t, const std::vector<MappedBuffer>&, const MappedBuffer& output,
                       uint32_t& outputModelSize) override {
        outputModelSize = output.length;
        return kNodeOk;
    }
    int32_t CheckModelValid() override { return kNodeOk; }
    int32_t SetInputsAndOutputs(AIContext&, const Tensors& inputs,
                                const Tensors& outputs) override {
        inputs_ = inputs;
        outputs_ = outputs;
        return kNodeOk;
    }
    int32_t StartCompute(AIContext& context) override {
        return complete(context, inputs_, outputs_);
    }

private:
    // Keeps the tensors until their client has heard of them.
    int32_t complete(const AIContext& context, const Tensors& inputs, const Tensors& outputs) {
        const bool taken = executor_->Post([listener = listener_, context, inputs, outputs] {
            listener->OnProcessDone(context, kNodeOk, outputs);
        });
        return taken ? kNodeOk : orva::reference::kNodeStopped;
    }

    const std::shared_ptr<orva::reference::Executor> executor_ =
            orva::reference::FrameworkExecutor();
    std::shared_ptr<AIModelManagerListener> listener_;
    Tensors inputs_;
    Tensors outputs_;
};

}  // namespace

void useBenchManagers() {
    orva::reference::SetModelManagerCreator([] { return new BenchManager; });
}

}  // namespace orva_bench
