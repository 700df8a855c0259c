/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

class StateDumps : public ServiceTest {
protected:
    // Whether a dump has all of these.
    testing::AssertionResult Has(const hidl_vec<android::hardware::hidl_string>& options,
                                 const std::vector<std::string>& wanted) {
        const std::string dump = Dump(options);
        for (const std::string& each : wanted) {
            if (dump.find(each) == std::string::npos) {
                return testing::AssertionFailure() << each << " is not in\n" << dump;
            }
        }
        return testing::AssertionSuccess();
    }

    const std::string pid_ = std::to_string(getpid());
    Region first_{100}, second_{100};
};

TEST_F(StateDumps, ShowWhatIsGoingOn) {
    const sp<FakeListener> listener = Listen();
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(first_)}, {TensorIn(second_)}, 0));
    const std::string id = "\"id\":\"" + pid_,
                      five = id + ":5\",\"type\":\"" + kType +
                             "\",\"state\":\"open\",\"process\":\"alive\"",
                      busy = "\"in_flight\":1,\"done\":0", six = id + ":6\"",
                      requests = "\"requests\":{\"in_flight\":1,\"done\":0,",
                      clients = "\"clients\":[{\"pid\":" + pid_ + ",\"program\":\"" +
                                ProgramOf(getpid()) + "\",\"mappings\":2,\"mapped_bytes\":200",
                      held = "\"held\":{\"mappings\":2,\"mapped_bytes\":200}";
    EXPECT_TRUE(Has({"--json"}, {"{\"service\":\"" + kInterface + "\",\"pid\":" + pid_, five, busy,
                                 six, requests, clients, held}));
    EXPECT_TRUE(
            Has({}, {"  sessions\n    id \"" + pid_ + ":5\"", "\n  requests in_flight 1 done 0 "}));
    // The same of one client.
    EXPECT_TRUE(Has({"--json", "--client", pid_ + ":5"}, {five, busy, requests, clients}));
    EXPECT_FALSE(Has({"--json", "--client", pid_ + ":5"}, {six}));
    EXPECT_TRUE(Has({"--json", "--client", "1"}, {"\"sessions\":[]", "\"clients\":[]"}));

    // What ends after its session is counted, too.
    service_->UnInit(5);
    script_.listener->OnProcessDone(AIContext(), 0, script_.outputs);
    script_.inputs.clear();
    script_.outputs.clear();
    EXPECT_FALSE(Has({"--json"}, {five}));
    EXPECT_TRUE(Has({}, {"requests in_flight 0 done 1 ", "held mappings 0 mapped_bytes 0\n",
                         "refusals 1\n"}));
}

TEST_F(StateDumps, ShowSessionsFromTheirOpeningOn) {
    script_.during = [&] { InAnotherThread([&] { EXPECT_TRUE(Has({}, {"state \"opening\""})); }); };
    EXPECT_EQ(0, Init(5));
    EXPECT_TRUE(Has({}, {"state \"open\""}));
    // One that stays without being initialised.
    hidl_vec<ModelBuffer> models = {Model("a", &first_, 5000)};
    EXPECT_EQ(1, service_->Init(6, kType, "", models));
    EXPECT_TRUE(Has({}, {"state \"not opened\"", "\n  regions_refused no_memory "}));
}

TEST_F(StateDumps, KeepTheLatestRefusals) {
    EXPECT_EQ(2, Ask(5));
    const std::string refused = "\"client\":\"" + pid_ + ":5\",\"program\":\"" +
                                ProgramOf(getpid()) +
                                "\",\"method\":\"Process\",\"status\":2,"
                                "\"text\":\"Process service " +
                                pid_ + ":5 is not create\"}";
    EXPECT_TRUE(Has({"--json"}, {refused}));
    EXPECT_TRUE(Has({"--json", "--client", pid_ + ":5"}, {refused}));
    EXPECT_FALSE(Has({"--json", "--client", "1:5"}, {"is not create"}));
    // Not for ever, nor more and more of them.
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(2, Ask(6));
    }
    EXPECT_FALSE(Has({"--json"}, {refused}));
    EXPECT_TRUE(Has({}, {"refusals 1001\n"}));
    EXPECT_LT(Dump({"--json"}).size(), 100'000U);
}

TEST_F(StateDumps, NeedNothingOfTheClient) {
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
