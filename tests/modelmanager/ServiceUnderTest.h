/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIModelManager.h>
#include <orva/reference/ModelManagerRegistry.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "modelmanager/ModelManagerClientListener.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = ModelManagerServiceHIDL;
using ClientInterface = IModelManagerListener;
using FrameworkListener = ModelManagerClientListener;

struct Script : ScriptOf<AIModelManagerListener> {
    int32_t dimensionStatus = 0, usedMemory = 0, valid = 0, compatible = 0, buildStatus = 0;
    std::vector<AIModelIOTensor> inputDimensions, outputDimensions;
    std::function<void(const std::vector<MappedBuffer>&, const MappedBuffer&, uint32_t&)>
            duringBuild;

    std::string modelName;
};

class FakeFramework : public FakeOf<AIModelManager, AIModelManagerListener> {
public:
    explicit FakeFramework(Script& script) : FakeOf(script), script_(script) {}

    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override {
        EXPECT_FALSE(weak_from_this().expired());
        return FakeOf::Init(config, models);
    }
    int32_t GetModelIOTensorDim(const std::string& modelName, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>& outputs) override {
        Journal::Note("framework GetModelIOTensorDim");
        script_.modelName = modelName;
        inputs = script_.inputDimensions;
        outputs = script_.outputDimensions;
        return script_.dimensionStatus;
    }
    int32_t CheckModelCompatibility(const AIModelDescription& model) override {
        EXPECT_FALSE(weak_from_this().expired());
        Journal::Note("framework CheckModelCompatibility");
        script_.models = {model};
        return script_.compatible;
    }
    int32_t GetMaxUsedMemory() override {
        Journal::Note("framework GetMaxUsedMemory");
        return script_.usedMemory;
    }
    int32_t BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                       const MappedBuffer& output, uint32_t& outputModelSize) override {
        Journal::Note("framework BuildModel");
        script_.param = buildParam;
        if (script_.duringBuild) {
            script_.duringBuild(inputs, output, outputModelSize);
        }
        return script_.buildStatus;
    }
    int32_t CheckModelValid() override {
        Journal::Note("framework CheckModelValid");
        return script_.valid;
    }
    int32_t SetInputsAndOutputs(AIContext& context, const Tensors& inputs,
                                const Tensors& outputs) override {
        return Take("framework SetInputsAndOutputs", context, inputs, outputs);
    }
    int32_t StartCompute(AIContext& context) override {
        return Take("framework StartCompute", context, {}, {});
    }

private:
    Script& script_;
};

constexpr char kType[] = "type";
constexpr char kInterface[] = "IModelManagerService";
// How messages and those of results begin.
const std::string kName = "ModelManagerServiceHIDL";
const std::string kResult = "ModelManagerServiceHIDL OnAIEvent ";

inline void SetCreator(const std::function<AIModelManager*()>& creator) {
    reference::SetModelManagerCreator(creator);
}

// What aiservice/ServiceUnderTest.h says of its service.
const Entries kOpening = {"- CheckServiceNum", "S framework made", "S framework Init",
                          "- UpdateServiceTime 5"};
const Lines kOpeningLines = {Info("Init", "ModelManagerServiceHIDL Init"),
                             Info("Init", "create AIService type type")};
const Entries kUndoing;
const Entries kEnding = {"- framework gone", "L listener unlinkToDeath", "L RemoveServiceTime 5"};
const Entries kEndingNothing;

const Lines kSetListenerLines = {Info("SetListener", "ModelManagerServiceHIDL SetListener")};
const Entries kLinking = {"L listener linkToDeath 22136"};
const Lines kNoRecipient = {Error("SetListener", "service_recipient is nullptr.")};
const Lines kNoFrameworkListener = {Error("SetListener", "client_listener is nullptr.")};
const Entries kRegistering = {"L framework RegisterListener"};
const Entries kRegistered = {"- UpdateServiceTime 5"};
const Lines kRegisteringLines;

const std::string kDeliveryLock = "L ";
const Lines kDeliveryLines = {Info("OnProcessDone", kResult + kId + " call the listener"),
                              Info("OnProcessDone", "OnProcessDone context: {\"k\":\"v\"}")};
const Lines kReportLines = {Info("OnProcessDone", "ModelManagerServiceHIDL OnAIEvent")};
const Lines kServiceDiedLines = {Error("OnServiceDied", "ModelManagerServiceHIDL ServiceDied")};

inline std::vector<Method> Methods(Service& service, const char* context) {
    return {{"Process",
             [&service, context](int32_t client, const auto& inputs, const auto& outputs) {
                 return static_cast<int32_t>(service.Process(client, context, inputs, outputs, -3));
             },
             "Process input data DeserializeFrom failed",
             "Process output data DeserializeFrom failed", "Process output tensor create failed",
             true},
            {"SetInputsAndOutputs",
             [&service, context](int32_t client, const auto& inputs, const auto& outputs) {
                 return static_cast<int32_t>(
                         service.SetInputsAndOutputs(client, context, inputs, outputs));
             },
             "SetInputsAndOutputs input tensor DeserializeFrom failed",
             "SetInputsAndOutputs output tensor DeserializeFrom failed", nullptr, true}};
}

inline std::vector<std::function<void()>> SignsOfLife(Service& service) {
    return {[&] { service.Process(5, "", {}, {}, 0); },
            [&] { service.SetInputsAndOutputs(5, "", {}, {}); },
            [&] { service.StartCompute(5, ""); },
            [&] { service.SetListener(5, nullptr); },
            [&] { service.CheckModelValid(5); },
            [&] { service.BuildModel(5, "", 0, {}, ModelBuffer{}, [](uint32_t, int32_t) {}); }};
}

inline void RaceOn(Service& service, int32_t number,
                   const android::hardware::hidl_vec<AITensorHandle>& tensors) {
    service.SetInputsAndOutputs(number, "", tensors, tensors).isOk();
    service.StartCompute(number, "").isOk();
    service.GetModelIOTensorDim(number, "", [](const auto&, const auto&, int32_t) {});
    const ModelBuffer model{"", tensors[0].data.handle(), tensors[0].data.size(), ""};
    service.BuildModel(number, "", 0, {model}, model, [](uint32_t, int32_t) {});
}

}  // namespace orva::hidl::test
