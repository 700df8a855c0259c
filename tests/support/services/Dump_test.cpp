/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <unistd.h>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::hardware::hidl_handle;
using nlohmann::json;

class Dump : public ServiceTest {
protected:
    Region first_{100}, second_{100};
};

TEST_F(Dump, ShowsSessionsRequestsAndTensors) {
    ASSERT_EQ(0, Init(5));
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->SetListener(-5, new FakeListener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(first_)}, {TensorIn(second_)}, 0));
    json dump = JsonDump();
    EXPECT_EQ(kInterface, dump["service"]);
    EXPECT_EQ(getpid(), dump["pid"]);
    ASSERT_EQ(2U, dump["sessions"].size());
    json& session = dump["sessions"][0];
    EXPECT_LE(0, session["idle_s"].get<double>());
    session.erase("idle_s");
    EXPECT_EQ(
            (json{{"id", kId}, {"type", kType}, {"listener", true}, {"in_flight", 1}, {"done", 0}}),
            session);
    EXPECT_EQ(false, dump["sessions"][1]["listener"]);
    EXPECT_EQ((json{{"in_flight", 1}, {"done", 0}}), dump["requests"]);
    EXPECT_EQ(2, dump["tensors"]["alive"]);
    ASSERT_EQ(2U, dump["tensors"]["listed"].size());
    const json& tensor = dump["tensors"]["listed"][0];
    EXPECT_EQ("AINeuralNetworkBuffer", tensor["type"]);
    EXPECT_EQ(100, tensor["bytes"]);
    EXPECT_EQ(getpid(), tensor["pid"]);
    EXPECT_EQ((json{{"descriptors", 2}, {"mappings", 2}, {"mapped_bytes", 200}}), dump["held"]);
    EXPECT_NE(std::string::npos, TextDump().find("  " + kId + "  type \"" + kType));

    const std::string process = std::to_string(getpid());
    for (const auto& [client, sessions, inFlight] :
         {std::tuple(kId, 1, 1), std::tuple(process, 2, 1), std::tuple(std::string("1:5"), 0, 0)}) {
        dump = JsonDump(client);
        EXPECT_EQ(sessions, dump["sessions"].size());
        EXPECT_EQ(inFlight, dump["requests"]["in_flight"]);
        EXPECT_EQ(inFlight * 2, dump["tensors"]["alive"]);
        EXPECT_FALSE(dump.contains("refusals"));
    }

    // What ends after its session is counted, too.
    service_->UnInit(5);
    script_.listener->OnProcessDone(AIContext(), 0, script_.outputs);
    script_.inputs.clear();
    script_.outputs.clear();
    dump = JsonDump();
    EXPECT_EQ(1U, dump["sessions"].size());
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 1}}), dump["requests"]);
    EXPECT_EQ((json{{"alive", 0}, {"listed", json::array()}}), dump["tensors"]);
    EXPECT_EQ((json{{"descriptors", 0}, {"mappings", 0}, {"mapped_bytes", 0}}), dump["held"]);
}

TEST_F(Dump, NeedsNothingOfTheClient) {
    EXPECT_TRUE(service_->debug(hidl_handle(), {}).isOk());
    Region empty(1);
    empty.Get()->numFds = 0;
    EXPECT_TRUE(service_->debug(empty.Get(), {"--json"}).isOk());
    const std::string options = "options: --json, --client ID\n";
    EXPECT_EQ(options, TextDump({"--all"}));
    EXPECT_EQ(options, TextDump({"--json", "--client"}));
    EXPECT_EQ(options, TextDump({"--client", ""}));
}

}  // namespace
}  // namespace orva::hidl::test
