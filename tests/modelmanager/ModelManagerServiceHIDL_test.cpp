/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using nlohmann::json;
using ModelManagerService = ServiceTest;

TEST_F(ModelManagerService, HasRoomForTwoHundredAndOne) {
    for (int32_t client = 0; client < 201; ++client) {
        ASSERT_EQ(0, Init(client));
    }
    Story();
    // Who has a session already is told the same.
    for (const int32_t client : {201, 0}) {
        EXPECT_EQ(
                "I Init: ModelManagerServiceHIDL Init\n"
                "I Init: AIModelManagerImpl count more than 200\n= 1 session_limit\n",
                Outcome(Init(client)));
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
    Story();
    const std::string called = "I StartCompute: ModelManagerServiceHIDL StartCompute\n",
                      reached = called +
                                "I StartCompute: StartCompute context: {\"k\":\"v\"}\n"
                                "- UpdateServiceTime 5\n- framework StartCompute {\"k\":\"v\"}\n";
    for (const int32_t status : {0, -7, 7}) {
        script_.status = status;
        EXPECT_EQ(reached + (status == 0 ? "= 0\n" : "= 1 framework_request\n"),
                  Outcome(service_->StartCompute(5, "{\"k\":\"v\"}")));
    }
    EXPECT_EQ(called + "E StartCompute: StartCompute service PID:6 is not create\n= 1 no_session\n",
              Outcome(service_->StartCompute(6, "")));
}

// A client that holds a lock up is what a dump is asked for.
TEST_F(ModelManagerService, IsDumpedWhileItIsBusy) {
    const sp<FakeListener> listener = Listen();
    listener->during = [&](const auto&) {
        ExpectAnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump()["sessions"][0]["listener"]);
            EXPECT_NE(std::string::npos, TextDump().find("listener locked"));
        });
        EXPECT_EQ(true, JsonDump()["sessions"][0]["listener"]);
    };
    script_.listener->OnProcessDone(AIContext(), 0, {});

    script_.during = [&] {
        ExpectAnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump()["sessions"]);
            EXPECT_NE(std::string::npos, TextDump().find("sessions: locked"));
        });
    };
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(2, script_.made);
}

}  // namespace
}  // namespace orva::hidl::test
