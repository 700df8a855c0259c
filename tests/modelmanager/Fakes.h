/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIModelManager.h>
#include <orva/AIServiceConnectManager.h>
#include <orva/reference/ModelManagerRegistry.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "modelmanager/ModelManagerServiceHIDL.h"
#include "support/ResourceTest.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

// What a test's model managers answer, what happens meanwhile, and what came in last.
struct Script {
    int32_t initStatus = 0, processStatus = 0, listenerStatus = 0, bindStatus = 0, startStatus = 0,
            dimensionStatus = 0, usedMemory = 0, valid = 0, compatible = 0, buildStatus = 0;
    std::vector<AIModelIOTensor> inputDimensions, outputDimensions;
    std::function<void(const std::vector<MappedBuffer>&, const MappedBuffer&, uint32_t&)>
            duringBuild;

    size_t alive = 0;
    AIConfig config;
    std::vector<AIModelDescription> models;
    std::shared_ptr<AIModelManagerListener> listener;
    AIContext context;
    std::vector<std::shared_ptr<IAITensor>> inputs, outputs;
    int32_t param = 0;
    std::string modelName;
};

// A model manager that does what a script says.
class FakeManager : public AIModelManager {
public:
    explicit FakeManager(Script& script) : script_(script) {
        Journal::Note("createModelManager");
        ++script_.alive;
    }
    ~FakeManager() override {
        Journal::Note("manager gone");
        --script_.alive;
    }

    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override {
        Journal::Note(weak_from_this().expired() ? "unowned Init" : "manager Init");
        script_.config = config;
        script_.models = models;
        return script_.initStatus;
    }
    int32_t Process(AIContext& context, const std::vector<std::shared_ptr<IAITensor>>& inputs,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs,
                    int32_t processArg) override {
        Take("manager Process", context, inputs, outputs);
        script_.param = processArg;
        return script_.processStatus;
    }
    int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) override {
        Journal::Note("manager RegisterListener");
        script_.listener = listener;
        return script_.listenerStatus;
    }
    int32_t GetModelIOTensorDim(const std::string& modelName, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>& outputs) override {
        Journal::Note("manager GetModelIOTensorDim");
        script_.modelName = modelName;
        inputs = script_.inputDimensions;
        outputs = script_.outputDimensions;
        return script_.dimensionStatus;
    }
    int32_t CheckModelCompatibility(const AIModelDescription& model) override {
        Journal::Note(weak_from_this().expired() ? "unowned" : "manager CheckModelCompatibility");
        script_.models = {model};
        return script_.compatible;
    }
    int32_t GetMaxUsedMemory() override {
        Journal::Note("manager GetMaxUsedMemory");
        return script_.usedMemory;
    }
    int32_t BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                       const MappedBuffer& output, uint32_t& outputModelSize) override {
        Journal::Note("manager BuildModel");
        script_.param = buildParam;
        if (script_.duringBuild) {
            script_.duringBuild(inputs, output, outputModelSize);
        }
        return script_.buildStatus;
    }
    int32_t CheckModelValid() override {
        Journal::Note("manager CheckModelValid");
        return script_.valid;
    }
    int32_t SetInputsAndOutputs(AIContext& context,
                                const std::vector<std::shared_ptr<IAITensor>>& inputs,
                                const std::vector<std::shared_ptr<IAITensor>>& outputs) override {
        Take("manager SetInputsAndOutputs", context, inputs, outputs);
        return script_.bindStatus;
    }
    int32_t StartCompute(AIContext& context) override {
        Take("manager StartCompute", context, {}, {});
        return script_.startStatus;
    }

private:
    void Take(const char* what, const AIContext& context,
              const std::vector<std::shared_ptr<IAITensor>>& inputs,
              const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        Journal::Note(what);
        script_.context = context;
        script_.inputs = inputs;
        script_.outputs = outputs;
    }

    Script& script_;
};

using FakeListener = FakeListenerOf<IModelManagerListener>;

// A service of its own, whose model managers follow script_.
class ModelManagerTest : public ::orva::test::ResourceTest {
protected:
    void SetUp() override {
        ResourceTest::SetUp();
        log_.Take();
        reference::SetModelManagerCreator(
                [this] { return managers_ ? new FakeManager(script_) : nullptr; });
    }

    void TearDown() override {
        for (int32_t client = 0; client < 10; ++client) {
            service_->UnInit(client);
        }
        EXPECT_EQ(0U, script_.alive);
        reference::SetModelManagerCreator(nullptr);
        service_.clear();
        script_ = Script();
        ResourceTest::TearDown();
    }

    int32_t Init(int32_t client) { return service_->Init(client, "type", "", {}); }

    // The errors that clients do not see, of this service alone.
    Lines Errors() { return TakeErrors(log_); }

    bool managers_ = true;
    Script script_;
    android::sp<ModelManagerServiceHIDL> service_ = new ModelManagerServiceHIDL;
    LogCapture log_;
    Journal journal_{service_};
};

}  // namespace orva::hidl::test
