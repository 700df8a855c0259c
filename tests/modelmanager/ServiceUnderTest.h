/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIModelManager.h>
#include <orva/reference/ModelManagerRegistry.h>

#include <functional>
#include <string>
#include <vector>

#include "modelmanager/ModelManagerServiceHIDL.h"
#include "services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = ModelManagerServiceHIDL;
using ClientInterface = IModelManagerListener;
using FrameworkListener = ModelManagerClientListener;

struct Script : ScriptOf<AIModelManagerListener> {
    std::vector<AIModelIOTensor> inputDimensions, outputDimensions;
};

class FakeFramework : public FakeOf<AIModelManager, Script, AIModelManagerListener> {
public:
    using FakeOf::FakeOf;

    int32_t GetModelIOTensorDim(const std::string& modelName, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>& outputs) override {
        inputs = script_.inputDimensions;
        outputs = script_.outputDimensions;
        return Answer("GetModelIOTensorDim " + modelName);
    }
    int32_t CheckModelCompatibility(const AIModelDescription& model) override {
        EXPECT_FALSE(weak_from_this().expired());
        script_.models = {model};
        return Answer("CheckModelCompatibility");
    }
    int32_t GetMaxUsedMemory() override { return Answer("GetMaxUsedMemory"); }
    // Builds the first byte of each source.
    int32_t BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                       const MappedBuffer& output, uint32_t& outputModelSize) override {
        std::string lengths;
        auto* built = static_cast<uint8_t*>(output.address);
        for (const MappedBuffer& input : inputs) {
            lengths += std::to_string(input.length) + " ";
            if (built != nullptr && input.address != nullptr) {
                *built++ = *static_cast<const uint8_t*>(input.address);
                outputModelSize =
                        static_cast<uint32_t>(built - static_cast<uint8_t*>(output.address));
            }
        }
        return Answer("BuildModel " + std::to_string(buildParam) + ": " + lengths + "> " +
                      std::to_string(output.length));
    }
    int32_t CheckModelValid() override { return Answer("CheckModelValid"); }
    int32_t SetInputsAndOutputs(AIContext& context, const Outputs& inputs,
                                const Outputs& outputs) override {
        return Take("SetInputsAndOutputs", context, inputs, outputs);
    }
    int32_t StartCompute(AIContext& context) override {
        return Take("StartCompute", context, {}, {});
    }
};

constexpr char kTag[] = "AIModelManagerServiceHIDL";
const std::string kType = "type";
const std::string kInterface = "IModelManagerService";
const android::hardware::hidl_string kConfig("{\"a\":\"b\"}");
const std::string kName = "ModelManagerServiceHIDL";
const std::string kResult = "I OnProcessDone: ModelManagerServiceHIDL OnAIEvent ";

inline void SetCreator(const std::function<AIModelManager*()>& creator) {
    reference::SetModelManagerCreator(creator);
}

inline auto& Sessions(Service& service) ORVA_NO_THREAD_SAFETY_ANALYSIS {
    return service.modelManagers;
}
inline Mutex& SessionLock(Service& service) {
    return service.managerMutex;
}

// What aiservice/ServiceUnderTest.h says of its service.
const std::string kAdmitted = "I Init: create AIService type type\n";
const std::string kMade = "S framework made\n";
const std::string kInitialised = "S framework Init\n";
const std::string kUndone;
const std::string kGone = "S framework gone\nL listener unlinkToDeath\nL RemoveServiceTime 5\n";
const std::string kNothingGone;

const std::string kSetting = "I SetListener: ModelManagerServiceHIDL SetListener\n";
const std::string kLinked = "L listener linkToDeath 22136\n";
const std::string kNoRecipient = "E SetListener: service_recipient is nullptr.\n";
const std::string kNoFrameworkListener = "E SetListener: client_listener is nullptr.\n";
const std::string kRefusedByFramework = "L framework RegisterListener\n";
const std::string kRegistered = kRefusedByFramework + "- UpdateServiceTime 5\n";

const std::string kReported = "I OnProcessDone: ModelManagerServiceHIDL OnAIEvent\n";
const std::string kDelivered =
        "I OnProcessDone: OnProcessDone context: {\"k\":\"v\"}\nL listener OnProcessDone ";
// Whether a result's context is copied before it is serialised, for the log and for the client.
constexpr bool kSerializesCopies = true;
const std::string kServiceDied = "E OnServiceDied: ModelManagerServiceHIDL ServiceDied\n";

inline std::vector<Method> Methods(Service& service, const char* context) {
    return {{"Process",
             [&service, context](auto client, auto& inputs, auto& outputs) -> int32_t {
                 return service.Process(client, context, inputs, outputs, -3);
             },
             "data", true, true},
            {"SetInputsAndOutputs",
             [&service, context](auto client, auto& inputs, auto& outputs) -> int32_t {
                 return service.SetInputsAndOutputs(client, context, inputs, outputs);
             },
             "tensor", true, false}};
}

// What else a client may ask while its session comes to its end.
inline void AskMore(Service& service, int32_t client, const Tensors& tensors) {
    service.SetInputsAndOutputs(client, "", tensors, tensors).isOk();
    service.StartCompute(client, "").isOk();
    service.GetModelIOTensorDim(client, "", [](auto&&...) {});
    const ModelBuffer model{"", tensors[0].data.handle(), tensors[0].data.size(), ""};
    service.BuildModel(client, "", 0, {model}, model, [](auto&&...) {});
}

}  // namespace orva::hidl::test
