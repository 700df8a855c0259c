/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "modelmanager/ModelManagerServiceHIDL.h"

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {

const char kTag[] = "AIModelManagerServiceHIDL";

namespace {

using android::sp;
using nlohmann::json;
using ModelManagerService = ServiceTest;

TEST_F(ModelManagerService, HasRoomForTwoHundredAndOne) {
    for (int32_t client = 0; client < 201; ++client) {
        ASSERT_EQ(0, Init(client));
    }
    // Who has a session already is told the same.
    for (const int32_t client : {201, 0}) {
        journal_.Take();
        log_.Take();
        EXPECT_EQ(1, Init(client));
        EXPECT_EQ((Lines{kOpeningLines[0], Info("Init", "AIModelManagerImpl count more than 200")}),
                  log_.Take());
        EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
        EXPECT_EQ("session_limit", NewRefusals());
    }
    service_->UnInit(200);
    EXPECT_EQ(0, Init(201));
    EXPECT_EQ(1, Init(202));
    for (int32_t client = 0; client < 202; ++client) {
        service_->UnInit(client);
    }
}

TEST_F(ModelManagerService, StartComputeKnowsOneFailureOnly) {
    ASSERT_EQ(0, Init(5));
    const Entries reached = {"- UpdateServiceTime 5", "- framework StartCompute"};
    const Lines context = {Info("StartCompute", "StartCompute context: {\"k\":\"v\"}")};
    const Lines noSession = {
            Error("StartCompute", "StartCompute service " + kOtherId + " is not create")};
    const struct {
        int32_t client;
        int32_t frameworkStatus;
        int32_t status;
        Lines lines;
        Entries entries;
        const char* refusal;
    } cases[] = {
            {5, 0, 0, context, reached, ""},
            {5, -7, 1, context, reached, "framework_request"},
            {5, 7, 1, context, reached, "framework_request"},
            {6, 0, 1, noSession, {}, "no_session"},
    };
    for (const auto& each : cases) {
        journal_.Take();
        log_.Take();
        script_.requestStatus = each.frameworkStatus;
        EXPECT_EQ(each.status, service_->StartCompute(each.client, "{\"k\":\"v\"}"));
        EXPECT_EQ(Lines{Info("StartCompute", "ModelManagerServiceHIDL StartCompute")} + each.lines,
                  log_.Take());
        EXPECT_EQ(each.entries, journal_.Take());
        EXPECT_EQ(each.refusal, NewRefusals());
    }
    EXPECT_EQ("v", script_.context.GetPara("k"));
}

// A client that holds a lock up is what a dump is asked for.
TEST_F(ModelManagerService, IsDumpedWhileItIsBusy) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->during = [&](const auto&) {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump()["sessions"][0]["listener"]);
            EXPECT_NE(std::string::npos, TextDump().find("listener locked"));
        }));
        EXPECT_EQ(true, JsonDump()["sessions"][0]["listener"]);
    };
    service_->OnProcessDone(kId, AIContext(), 0, {});

    script_.duringInit = [&] {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump()["sessions"]);
            EXPECT_NE(std::string::npos, TextDump().find("sessions: locked"));
        }));
    };
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(2, script_.made);
}

}  // namespace
}  // namespace orva::hidl::test
