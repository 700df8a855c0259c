/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <regex>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

class StateDumps : public ServiceTest {
protected:
    // With "PID" for this process and "T" for every time.
    std::string Text(const hidl_vec<android::hardware::hidl_string>& options) {
        const std::string text = std::regex_replace(Dump(options), std::regex("\\d+\\.\\d+"), "T");
        return std::regex_replace(text, std::regex(std::to_string(getpid())), "PID");
    }

    Region first_{100}, second_{100};
};

TEST_F(StateDumps, ShowsSessionsRequestsAndTensors) {
    const sp<FakeListener> listener = Listen();
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(first_)}, {TensorIn(second_)}, 0));
    const std::string begin = kInterface + " in process PID, for T s\nsessions: ",
                      type = "  type \"" + kType + "\"  used T s ago  listener ",
                      six = "  PID:6" + type + "not set  0 in flight, 0 done\n",
                      tensor = "  AINeuralNetworkBuffer  100 bytes  mapped for T s  process PID\n";
    EXPECT_EQ(begin + "2\n  PID:5" + type + "set  1 in flight, 0 done\n" + six +
                      "requests: 1 in flight, 0 done\nrefusals:\n"
                      "tensors of both services: 2, listed 2 with 200 bytes\n" +
                      tensor + tensor +
                      "held for both services: 2 descriptors, 2 mappings of 200 bytes\n",
              Text({}));

    // The same of one client.
    const std::string json = "{\"service\":\"" + kInterface +
                             "\",\"pid\":PID,\"age_s\":T,\"sessions\":[",
                      five = "{\"id\":\"PID:5\",\"type\":\"" + kType +
                             "\",\"idle_s\":T,\"listener\":true,\"in_flight\":1,\"done\":0}",
                      mapped = "{\"type\":\"AINeuralNetworkBuffer\",\"bytes\":100,\"mapped_s\":T,"
                               "\"pid\":PID}",
                      busy = "],\"requests\":{\"in_flight\":1,\"done\":0},\"tensors\":{\"alive\":2,"
                             "\"listed\":[" +
                             mapped + "," + mapped + "]}}\n";
    EXPECT_EQ(json + five + busy, Text({"--json", "--client", std::to_string(getpid()) + ":5"}));

    // What ends after its session is counted, too.
    service_->UnInit(5);
    script_.listener->OnProcessDone(AIContext(), 0, script_.outputs);
    script_.inputs.clear();
    script_.outputs.clear();
    EXPECT_EQ(begin + "1\n" + six +
                      "requests: 0 in flight, 1 done\nrefusals:\n  result_without_listener  1\n"
                      "tensors of both services: 0, listed 0 with 0 bytes\n"
                      "held for both services: 0 descriptors, 0 mappings of 0 bytes\n",
              Text({}));
}

TEST_F(StateDumps, NeedsNothingOfTheClient) {
    EXPECT_TRUE(service_->debug(android::hardware::hidl_handle(), {}).isOk());
    Region empty(1);
    empty.Get()->numFds = 0;
    EXPECT_TRUE(service_->debug(empty.Get(), {"--json"}).isOk());
    const std::string options = "options: --json, --client ID\n";
    EXPECT_EQ(options, Dump({"--all"}));
    EXPECT_EQ(options, Dump({"--json", "--client"}));
    EXPECT_EQ(options, Dump({"--client", ""}));
}

}  // namespace
}  // namespace orva::hidl::test
