/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <gtest/gtest.h>
#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>
#include <orva/AITensorDescription.h>
#include <orva/IAITensor.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/Interfaces.h"
#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/services/Journal.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

// What the tests of both services put at the service's edges.
namespace orva::hidl::test {

using ::orva::test::LogCapture;
using ::orva::test::LogLine;
using Lines = std::vector<LogLine>;
using Entries = std::vector<std::string>;

template <typename T>
std::vector<T> operator+(std::vector<T> left, const std::vector<T>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// The service ids of the clients 5, which most tests play, and 6.
inline const std::string kId = std::to_string(getpid()) + ":5";
inline const std::string kOtherId = std::to_string(getpid()) + ":6";

// The tag of the service that the program tests, which defines it.
extern const char kTag[];

inline LogLine Info(const char* function, const std::string& message) {
    return {ANDROID_LOG_INFO, kTag, function, message};
}
inline LogLine Error(const char* function, const std::string& message) {
    return {ANDROID_LOG_ERROR, kTag, function, message};
}

// What a test's framework objects answer, what happens meanwhile, and what came in last.
template <typename Listener>
struct ScriptOf {
    bool makesNone = false;
    int32_t initStatus = 0, listenerStatus = 0, requestStatus = 0;
    std::function<void()> duringInit;

    int made = 0, alive = 0;
    int asked = 0;  // which of them had the last request, in the order of their making, from 1
    AIConfig config;
    std::vector<AIModelDescription> models;
    std::shared_ptr<Listener> listener;
    AIContext context;
    std::vector<std::shared_ptr<IAITensor>> inputs, outputs;
    int32_t param = 0;
};

// A framework object that does what a script says: what nodes and model managers have in common.
template <typename Base, typename Listener>
class FakeOf : public Base {
public:
    using Tensors = std::vector<std::shared_ptr<IAITensor>>;

    explicit FakeOf(ScriptOf<Listener>& script) : script_(script), number_(++script.made) {
        Journal::Note("framework made");
        ++script.alive;
    }
    ~FakeOf() override {
        Journal::Note("framework gone");
        --script_.alive;
    }

    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override {
        Journal::Note("framework Init");
        script_.config = config;
        script_.models = models;
        if (script_.duringInit) {
            script_.duringInit();
        }
        return script_.initStatus;
    }
    int32_t RegisterListener(const std::shared_ptr<Listener>& listener) override {
        Journal::Note("framework RegisterListener");
        script_.listener = listener;
        return script_.listenerStatus;
    }
    int32_t Process(AIContext& context, const Tensors& inputs, const Tensors& outputs,
                    int32_t param) override {
        script_.param = param;
        return Take("framework Process", context, inputs, outputs);
    }

protected:
    int32_t Take(const char* what, const AIContext& context, const Tensors& inputs,
                 const Tensors& outputs) {
        Journal::Note(what);
        script_.asked = number_;
        script_.context = context;
        script_.inputs = inputs;
        script_.outputs = outputs;
        return script_.requestStatus;
    }

private:
    ScriptOf<Listener>& script_;
    const int number_;
};

// A request with tensors, and what the log has of its failures.
struct Method {
    const char* name;
    std::function<int32_t(int32_t client, const android::hardware::hidl_vec<AITensorHandle>& inputs,
                          const android::hardware::hidl_vec<AITensorHandle>& outputs)>
            call;
    const char* inputError;
    const char* outputError;
    const char* unknownOutputError = nullptr;  // null: as any other output's, found by the registry
    bool namesInputTypes = false;
};

// A client's listener in this process.
template <typename Interface>
class FakeListenerOf : public Interface {
public:
    android::hardware::Return<void> OnProcessDone(
            int32_t result, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<AITensorHandle>& outputs) override {
        Journal::Note("listener OnProcessDone " + std::to_string(result) + " " +
                      std::string(context) + " " + std::to_string(outputs.size()));
        if (during) {
            during(outputs);
        }
        return android::hardware::Status::fromStatusT(transport);
    }

    android::hardware::Return<bool> linkToDeath(
            const android::sp<android::hardware::hidl_death_recipient>& newRecipient,
            uint64_t cookie) override {
        Journal::Note("listener linkToDeath " + std::to_string(cookie));
        recipient = newRecipient;
        return android::hardware::Status::fromStatusT(transport);
    }

    android::hardware::Return<bool> unlinkToDeath(
            const android::sp<android::hardware::hidl_death_recipient>& oldRecipient) override {
        Journal::Note(oldRecipient == recipient ? "listener unlinkToDeath" : "wrong recipient");
        return android::hardware::Status::fromStatusT(transport);
    }

    android::status_t transport = android::OK;
    std::function<void(const android::hardware::hidl_vec<AITensorHandle>&)> during;
    android::sp<android::hardware::hidl_death_recipient> recipient;
};

// The handle of a tensor of 100 bytes in a region; copies of it are the test's own.
inline AITensorHandle TensorIn(::orva::test::Region& region,
                               const char* type = "AINeuralNetworkBuffer") {
    AITensorHandle handle{};
    handle.data = android::hardware::hidl_memory("ashmem", region.Get(), 100);
    handle.type = type;
    return handle;
}

// Such a tensor as the framework has it.
inline std::shared_ptr<IAITensor> TensorOn(::orva::test::Region& region) {
    auto tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    EXPECT_TRUE(tensor->Receive(region.Memory(100), android::hardware::hidl_memory()));
    EXPECT_TRUE(tensor->Init(AITensorDescription()));
    return tensor;
}

inline AIContext Context(const char* value) {
    AIContext context;
    context.SetPara("k", value);
    return context;
}

// A model whose bytes lie in a region, or that has none.
inline ModelBuffer Model(const std::string& name, ::orva::test::Handle* region, uint64_t size) {
    ModelBuffer model{};
    model.description = "{\"name\":\"" + name + "\"}";
    if (region != nullptr) {
        model.modelHandle = region->Get();
    }
    model.size = size;
    return model;
}

}  // namespace orva::hidl::test
