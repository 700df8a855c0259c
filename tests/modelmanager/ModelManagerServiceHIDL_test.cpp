/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "modelmanager/ModelManagerServiceHIDL.h"

#include "support/services/Dump.h"
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {

const char kTag[] = "AIModelManagerServiceHIDL";

namespace {

using android::sp;
using nlohmann::json;
using ModelManagerService = ServiceTest;

TEST_F(ModelManagerService, HasRoomForTwoHundredAndOne) {
    callerPid = 1000;
    for (int32_t client = 0; client < 201; ++client) {
        ASSERT_EQ(0, Init(client));
    }
    const Lines refusal = {kOpeningLines[0],
                           Info("Init", "AIModelManagerImpl count more than 200")};
    // Who has a session already is told the same.
    for (const int pid : {2000, 1000}) {
        callerPid = pid;
        journal_.Take();
        log_.Take();
        EXPECT_EQ(1, Init(0));
        EXPECT_EQ(refusal, log_.Take());
        EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    }
    EXPECT_EQ(2, JsonDump(service_)["refusals"]["session_limit"]);

    service_->UnInit(200);
    callerPid = 2000;
    EXPECT_EQ(0, Init(0));
    EXPECT_EQ(1, Init(1));
    service_->UnInit(0);
    callerPid = 1000;
    for (int32_t client = 0; client < 200; ++client) {
        service_->UnInit(client);
    }
    callerPid = 0;
}

TEST_F(ModelManagerService, StartComputeKnowsOneFailureOnly) {
    ASSERT_EQ(0, Init(5));
    const Entries reached = {"- UpdateServiceTime " + IdOf(5), "- framework StartCompute"};
    const Lines context = {Info("StartCompute", "StartCompute context: {\"k\":\"v\"}")};
    const struct {
        int32_t client;
        int32_t frameworkStatus;
        int32_t status;
        Lines lines;
        Entries entries;
    } cases[] = {
            {5, 0, 0, context, reached},
            {5, -7, 1, context, reached},
            {5, 7, 1, context, reached},
            {6,
             0,
             1,
             {Error("StartCompute", "StartCompute service " + IdOf(6) + " is not create")},
             {}},
    };
    for (const auto& each : cases) {
        journal_.Take();
        log_.Take();
        script_.requestStatus = each.frameworkStatus;
        EXPECT_EQ(each.status, service_->StartCompute(each.client, "{\"k\":\"v\"}"));
        EXPECT_EQ(Lines{Info("StartCompute", "ModelManagerServiceHIDL StartCompute")} + each.lines,
                  log_.Take());
        EXPECT_EQ(each.entries, journal_.Take());
    }
    EXPECT_EQ("v", script_.context.GetPara("k"));
}

// Those of its own; the rest is tested with both services.
TEST_F(ModelManagerService, CountsRefusalsByReason) {
    Region shorter(99);
    const ModelBuffer bad = Model("", &shorter, 100), large = Model("", nullptr, 209715201);
    const Tensors unknown = {TensorIn(shorter, "X")};
    const auto build = [&](int32_t client, const std::vector<ModelBuffer>& inputs,
                           const ModelBuffer& output) {
        service_->BuildModel(client, "", 0, inputs, output, [](uint32_t, int32_t) {});
    };
    script_.makesNone = true;
    (void)service_->CheckModelCompatibility(5, bad).isOk();
    script_.makesNone = false;
    (void)service_->CheckModelCompatibility(5, bad).isOk();
    ASSERT_EQ(0, Init(5));
    script_.requestStatus = 3;
    for (const int32_t client : {5, 6}) {
        (void)service_->SetInputsAndOutputs(client, "", {}, {}).isOk();
        (void)service_->StartCompute(client, "").isOk();
        (void)service_->GetMaxUsedMemory(client).isOk();
        (void)service_->CheckModelValid(client).isOk();
        service_->GetModelIOTensorDim(client, "", [](const auto&, const auto&, int32_t) {});
    }
    (void)service_->SetInputsAndOutputs(5, "", unknown, {}).isOk();
    (void)service_->SetInputsAndOutputs(5, "", {}, unknown).isOk();
    build(6, {}, {});
    build(5, {large}, {});
    build(5, {}, large);
    build(5, {bad}, {});
    build(5, {}, bad);
    build(5, {}, {});
    script_.buildStatus = 1;
    build(5, {}, {});
    const json dump = JsonDump(service_);
    const std::pair<const char*, int> counts[] = {
            {"unknown_type", 1},      {"model_region", 1}, {"no_session", 6},
            {"framework_request", 2}, {"input_tensor", 1}, {"output_tensor", 1},
            {"build_too_large", 2},   {"build_region", 2}, {"framework_build", 1},
    };
    for (const auto& [reason, count] : counts) {
        EXPECT_EQ(count, dump["refusals"][reason]) << reason;
    }
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 1}}), dump["requests"]);
}

// A client that holds a lock up is what a dump is asked for.
TEST_F(ModelManagerService, IsDumpedWhileItIsBusy) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->during = [&](const auto&) {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump(service_)["sessions"][0]["listener"]);
            EXPECT_NE(std::string::npos, TextDump(service_).find("listener locked"));
        }));
        EXPECT_EQ(true, JsonDump(service_)["sessions"][0]["listener"]);
    };
    service_->OnProcessDone(IdOf(5), AIContext(), 0, {});

    script_.duringInit = [&] {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump(service_)["sessions"]);
            EXPECT_NE(std::string::npos, TextDump(service_).find("sessions: locked"));
        }));
    };
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(2, script_.made);
}

}  // namespace
}  // namespace orva::hidl::test
