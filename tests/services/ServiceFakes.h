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

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Interfaces.h"
#include "support/LogCapture.h"
#include "support/Region.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

// What the tests of both services put at the service's edges; every call of it is noted.
namespace orva::hidl::test {

using android::sp;
using android::hardware::hidl_vec;
using Tensors = hidl_vec<AITensorHandle>;
using Outputs = std::vector<std::shared_ptr<IAITensor>>;  // tensors as the framework has them

// The locks of the service under test that are held, as far as anybody asks: "S" (the one of its
// sessions), "L" (the one of its listeners), or "SL" (both, which must not be).
inline std::function<std::string()> heldLocks;

// What happens meanwhile, if anything: when a session's time is about to be set or has just been
// removed, once; and when a context is serialised.
inline std::function<void()> beforeUpdate, afterRemoval;
inline std::function<void(const AIContext&)> whenSerialized;

// Notes a call among the log's lines, beginning with the held locks, or "-".
inline void NoteCall(const std::string& what) {
    const std::string locks = heldLocks ? heldLocks() : "";
    ::orva::test::Note((locks.empty() ? "-" : locks) + " " + what);
}

// What a test's framework objects answer, what happens meanwhile, and what came in last.
template <typename Listener>
struct ScriptOf {
    bool makesNone = false;
    int32_t status = 0;            // of every call
    std::function<void()> during;  // the next call; once

    int alive = 0;
    AIConfig config;
    std::vector<AIModelDescription> models;
    std::shared_ptr<Listener> listener;
    Outputs inputs, outputs;
};

// A framework object that does what a script says: what nodes and model managers have in common.
template <typename Base, typename Script, typename Listener>
class FakeOf : public Base {
public:
    explicit FakeOf(Script& script) : script_(script) {
        NoteCall("framework made");
        ++script.alive;
    }
    ~FakeOf() override {
        NoteCall("framework gone");
        --script_.alive;
    }

    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override {
        script_.config = config;
        script_.models = models;
        return Answer("Init");
    }
    int32_t RegisterListener(const std::shared_ptr<Listener>& listener) override {
        script_.listener = listener;
        return Answer("RegisterListener");
    }
    int32_t Process(AIContext& context, const Outputs& inputs, const Outputs& outputs,
                    int32_t param) override {
        return Take("Process " + std::to_string(param), context, inputs, outputs);
    }

protected:
    int32_t Answer(const std::string& method) {
        NoteCall("framework " + method);
        if (const auto during = std::exchange(script_.during, nullptr)) {
            during();
        }
        return script_.status;
    }
    int32_t Take(const std::string& method, const AIContext& context, const Outputs& inputs,
                 const Outputs& outputs) {
        script_.inputs = inputs;
        script_.outputs = outputs;
        return Answer(method + " " + context.Serialize());
    }

    Script& script_;
};

// A request with tensors, and what the log has of its failures.
struct Method {
    const char* name;
    std::function<int32_t(int32_t client, const Tensors& inputs, const Tensors& outputs)> call;
    const char* tensor;  // as its error lines call it
    bool namesTypes;     // of inputs
    bool makesOutputs;   // itself; else an output's unknown type is found by the registry
};

// A client's listener in this process.
template <typename Interface>
class FakeListenerOf : public Interface {
public:
    ~FakeListenerOf() override {
        if (atEnd) {
            atEnd();
        }
    }
    android::hardware::Return<void> OnProcessDone(int32_t result,
                                                  const android::hardware::hidl_string& context,
                                                  const Tensors& outputs) override {
        NoteCall("listener OnProcessDone " + std::to_string(result) + " " + std::string(context) +
                 " " + std::to_string(outputs.size()));
        if (during) {
            during(outputs);
        }
        return android::hardware::Status::fromStatusT(transport);
    }
    android::hardware::Return<bool> linkToDeath(
            const sp<android::hardware::hidl_death_recipient>& newRecipient,
            uint64_t cookie) override {
        NoteCall("listener linkToDeath " + std::to_string(cookie));
        recipient = newRecipient;
        if (duringLink) {
            duringLink();
        }
        return android::hardware::Status::fromStatusT(transport);
    }
    android::hardware::Return<bool> unlinkToDeath(
            const sp<android::hardware::hidl_death_recipient>& oldRecipient) override {
        NoteCall(oldRecipient == recipient ? "listener unlinkToDeath" : "wrong recipient");
        return android::hardware::Status::fromStatusT(transport);
    }

    android::status_t transport = android::OK;
    std::function<void(const Tensors&)> during;
    std::function<void()> duringLink, atEnd;
    sp<android::hardware::hidl_death_recipient> recipient;
};

// The handle of a tensor of 100 bytes in a region; copies of it are the test's own.
inline AITensorHandle TensorIn(::orva::test::Region& region,
                               const std::string& type = "AINeuralNetworkBuffer") {
    AITensorHandle handle{};
    handle.data = region.Memory(100);
    handle.type = type;
    return handle;
}

// Such a tensor as the framework has it.
inline std::shared_ptr<IAITensor> TensorOn(::orva::test::Region& region) {
    auto tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    tensor->Receive(region.Memory(100), android::hardware::hidl_memory());
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
