/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIServiceBase.h>
#include <orva/AIServiceConnectManager.h>
#include <orva/reference/NodeRegistry.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "aiservice/AIServiceHIDL.h"
#include "support/ResourceTest.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

// A node that does what a test says.
class FakeNode : public AIServiceBase {
public:
    // The answers, and what happens meanwhile.
    int32_t initStatus = 0, listenerStatus = 0, processStatus = 0;
    std::function<void()> duringInit;

    // What came in last.
    AIConfig config;
    std::vector<AIModelDescription> models;
    std::shared_ptr<AIServiceListener> listener;
    AIContext context;
    std::vector<std::shared_ptr<IAITensor>> inputs, outputs;
    int32_t param = 0;

    int32_t Init(const AIConfig& newConfig, std::vector<AIModelDescription>& newModels) override {
        Journal::Note("node Init");
        config = newConfig;
        models = newModels;
        if (duringInit) {
            duringInit();
        }
        return initStatus;
    }

    int32_t RegisterListener(const std::shared_ptr<AIServiceListener>& newListener) override {
        Journal::Note("node RegisterListener");
        listener = newListener;
        return listenerStatus;
    }

    int32_t Process(AIContext& newContext, const std::vector<std::shared_ptr<IAITensor>>& newInputs,
                    const std::vector<std::shared_ptr<IAITensor>>& newOutputs,
                    int32_t newParam) override {
        Journal::Note("node Process");
        context = newContext;
        inputs = newInputs;
        outputs = newOutputs;
        param = newParam;
        return processStatus;
    }
};

using FakeListener = FakeListenerOf<IAIServiceListener>;

// A service of its own with the node type "fake", whose next node is node_.
class AIServiceTest : public ::orva::test::ResourceTest {
protected:
    void SetUp() override {
        ResourceTest::SetUp();
        log_.Take();
        reference::RegisterNode("fake", [this] {
            Journal::Note("CreateNNNode");
            return node_;
        });
    }

    void TearDown() override {
        reference::UnregisterNode("fake");
        for (int32_t client = 0; client < 10; ++client) {
            service_->UnInit(client);
        }
        service_.clear();
        node_.reset();
        ResourceTest::TearDown();
    }

    int32_t Init(int32_t client) { return service_->Init(client, "fake", "", {}); }

    std::shared_ptr<FakeNode> node_ = std::make_shared<FakeNode>();
    android::sp<AIServiceHIDL> service_ = new AIServiceHIDL;
    LogCapture log_;
    Journal journal_{service_};
};

}  // namespace orva::hidl::test
