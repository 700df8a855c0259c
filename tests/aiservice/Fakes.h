/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <gtest/gtest.h>
#include <orva/AIServiceBase.h>
#include <orva/AIServiceConnectManager.h>
#include <orva/reference/NodeRegistry.h>

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "aiservice/AIServiceHIDL.h"
#include "aiservice/Journal.h"
#include "support/LogCapture.h"
#include "support/ResourceTest.h"

namespace orva::hidl::test {

using ::orva::test::LogCapture;
using ::orva::test::LogLine;
using Lines = std::vector<LogLine>;
using Entries = std::vector<std::string>;

constexpr char kTag[] = "AIServiceHIDL";

inline LogLine Info(const char* function, const std::string& message) {
    return {ANDROID_LOG_INFO, kTag, function, message};
}
inline LogLine Error(const char* function, const std::string& message) {
    return {ANDROID_LOG_ERROR, kTag, function, message};
}

// Whether another thread gets through an operation while this one waits for it; that fails only
// when the operation needs a lock that this thread holds.
inline bool AnotherThreadCan(std::function<void()> operation) {
    auto done = std::make_shared<std::promise<void>>();
    auto future = done->get_future();
    std::thread thread([done, operation = std::move(operation), pid = callerPid] {
        callerPid = pid;
        operation();
        done->set_value();
    });
    const bool finished = future.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    if (!finished) {
        ADD_FAILURE() << "a lock is held";
        abort();  // the thread cannot be ended
    }
    thread.join();
    return true;
}

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

// A client's listener in this process.
class FakeListener : public IAIServiceListener {
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
        recipient = nullptr;
        return android::hardware::Status::fromStatusT(transport);
    }

    android::status_t transport = android::OK;
    std::function<void(const android::hardware::hidl_vec<AITensorHandle>&)> during;
    android::sp<android::hardware::hidl_death_recipient> recipient;
};

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
