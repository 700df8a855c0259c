/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "aiservice/Fakes.h"
#include "support/services/Dump.h"

namespace orva::hidl::test {
namespace {

using nlohmann::json;
using ::orva::test::Region;
using AIServiceDump = AIServiceTest;

TEST_F(AIServiceDump, ShowsSessionsRequestsAndTensors) {
    Region region(100);
    ASSERT_EQ(0, Init(5));
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->SetListener(-5, new FakeListener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(region)}, {}, 0));
    json dump = JsonDump(service_);
    EXPECT_EQ("IAIService", dump["service"]);
    ASSERT_EQ(2U, dump["sessions"].size());
    EXPECT_EQ("fake", dump["sessions"][0]["type"]);
    EXPECT_EQ(true, dump["sessions"][0]["listener"]);
    EXPECT_EQ(1, dump["sessions"][0]["in_flight"]);
    EXPECT_EQ(1, dump["tensors"]["alive"]);
    EXPECT_EQ(100, dump["held"]["mapped_bytes"]);
    // What ends after its session is counted, too.
    service_->UnInit(5);
    node_->listener->OnProcessDone(AIContext(), 0, {});
    dump = JsonDump(service_);
    EXPECT_EQ(1U, dump["sessions"].size());
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 1}}), dump["requests"]);
}

TEST_F(AIServiceDump, CountsRefusalsByReason) {
    const android::hardware::hidl_vec<AITensorHandle> bad = {AITensorHandle{}};
    node_->initStatus = 1;
    Init(5);
    node_->initStatus = 0;
    service_->Init(5, "no such type", "", {});
    ASSERT_EQ(0, Init(5));
    node_->processStatus = node_->listenerStatus = 3;
    service_->SetListener(5, nullptr);
    service_->Process(5, "", {}, {}, 0);
    service_->Process(5, "", bad, {}, 0);
    service_->Process(5, "", {}, bad, 0);
    service_->Process(6, "", {}, {}, 0);
    service_->SetListener(6, nullptr);
    service_->SetListener(-5, nullptr);
    service_->SetListener(-5, nullptr);
    json refusals = JsonDump(service_)["refusals"];
    for (const char* once : {"framework_init", "unknown_type", "input_tensor", "output_tensor",
                             "listener_already_set"}) {
        EXPECT_EQ(1, refusals[once]) << once;
    }
    EXPECT_EQ(2, refusals["no_session"]);
    EXPECT_EQ(2, refusals["framework_request"]);
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 0}}), JsonDump(service_)["requests"]);
}

}  // namespace
}  // namespace orva::hidl::test
