/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIModelManager.h>
#include <orva/reference/ModelManagerRegistry.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "modelmanager/ModelManagerClientListener.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "support/services/Racing.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = ModelManagerServiceHIDL;
using ClientInterface = IModelManagerListener;
using FrameworkObject = AIModelManager;
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

class RacingFramework : public RacingOf<AIModelManager, AIModelManagerListener> {
public:
    using RacingOf::RacingOf;

    int32_t GetModelIOTensorDim(const std::string&, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>&) override {
        inputs.resize(1);
        return 0;
    }
    int32_t CheckModelCompatibility(const AIModelDescription&) override { return 0; }
    int32_t GetMaxUsedMemory() override { return 0; }
    int32_t BuildModel(int32_t, const std::vector<MappedBuffer>&, const MappedBuffer& output,
                       uint32_t& size) override {
        size = output.length;
        return 0;
    }
    int32_t CheckModelValid() override { return 0; }
    int32_t SetInputsAndOutputs(AIContext&, const Tensors&, const Tensors& outputs) override {
        std::lock_guard<std::mutex> lock(boundMutex_);
        bound_ = outputs;
        return 0;
    }
    int32_t StartCompute(AIContext& context) override {
        Tensors outputs;
        {
            std::lock_guard<std::mutex> lock(boundMutex_);
            outputs.swap(bound_);
        }
        return outputs.empty() ? 3 : Process(context, {}, outputs, 0);
    }

private:
    std::mutex boundMutex_;
    Tensors bound_;
};

constexpr char kType[] = "type";
constexpr char kInterface[] = "IModelManagerService";
// How messages and those of results begin.
const std::string kName = "ModelManagerServiceHIDL";
const std::string kResult = "ModelManagerServiceHIDL OnAIEvent ";

inline void SetCreator(const std::function<FrameworkObject*()>& creator) {
    reference::SetModelManagerCreator(creator);
}

// Sessions: what an Init does and logs, what it undoes when the framework's fails, and what the end
// of a session does and the end of one that is not there.
inline Entries Opening(int32_t client) {
    return {"- CheckServiceNum", "S framework made", "S framework Init",
            "- UpdateServiceTime " + IdOf(client)};
}
const Lines kOpeningLines = {Info("Init", "ModelManagerServiceHIDL Init"),
                             Info("Init", "create AIService type type")};
inline Entries Undoing(int32_t /*client*/) {
    return {};
}
inline Entries Ending(int32_t client) {
    return {"- framework gone", "L listener unlinkToDeath", "L RemoveServiceTime " + IdOf(client)};
}
inline Entries EndingNothing(int32_t /*client*/) {
    return {};
}

// SetListener: what comes of a client's listener, and of the one that the framework gets.
const Lines kSetListenerLines = {Info("SetListener", "ModelManagerServiceHIDL SetListener")};
inline Entries Linking(int32_t /*client*/) {
    return {"L listener linkToDeath 22136"};
}
const Lines kNoRecipient = {Error("SetListener", "service_recipient is nullptr.")};
inline Lines NoFrameworkListener(int32_t /*client*/) {
    return {Error("SetListener", "client_listener is nullptr.")};
}
inline Entries Registering(int32_t client, bool accepted) {
    Entries entries = {"L framework RegisterListener"};
    if (accepted) {
        entries.push_back("- UpdateServiceTime " + IdOf(client));
    }
    return entries;
}
inline Lines RegisteringLines(int32_t /*client*/) {
    return {};
}

// Results: the listener is called with its lock held; what is logged until it is called, and of a
// framework listener that belongs to no service.
const std::string kDeliveryLock = "L ";
inline Lines DeliveryLines(int32_t client, const std::string& context) {
    return {Info("OnProcessDone", kResult + IdOf(client) + " call the listener"),
            Info("OnProcessDone", "OnProcessDone context: " + context)};
}
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

// Calls for client 5 that are a sign of its life.
inline std::vector<std::function<void()>> SignsOfLife(Service& service) {
    return {[&] { service.Process(5, "", {}, {}, 0); },
            [&] { service.SetInputsAndOutputs(5, "", {}, {}); },
            [&] { service.StartCompute(5, ""); },
            [&] { service.SetListener(5, nullptr); },
            [&] { service.CheckModelValid(5); },
            [&] { service.BuildModel(5, "", 0, {}, ModelBuffer{}, [](uint32_t, int32_t) {}); }};
}

// What racing clients ask for besides; how many requests were accepted.
inline size_t RaceOn(Service& service, int32_t number,
                     const android::hardware::hidl_vec<AITensorHandle>& tensors) {
    (void)static_cast<int32_t>(service.SetInputsAndOutputs(number, "", tensors, tensors));
    const size_t accepted = service.StartCompute(number, "") == 0 ? 1 : 0;
    service.GetModelIOTensorDim(number, "", [](const auto&, const auto&, int32_t) {});
    ModelBuffer model;
    model.modelHandle = tensors[0].data.handle();
    model.size = tensors[0].data.size();
    service.BuildModel(number, "", 0, {model}, model, [](uint32_t, int32_t) {});
    return accepted;
}

}  // namespace orva::hidl::test
