/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <unistd.h>

#include "support/services/Dump.h"
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::sp;
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
    json dump = JsonDump(service_);
    EXPECT_EQ(kInterface, dump["service"]);
    EXPECT_EQ(getpid(), dump["pid"]);
    ASSERT_EQ(2U, dump["sessions"].size());
    const json& session = dump["sessions"][0];
    EXPECT_EQ(IdOf(5), session["id"]);
    EXPECT_EQ(kType, session["type"]);
    EXPECT_EQ(true, session["listener"]);
    EXPECT_LE(0, session["idle_s"].get<double>());
    EXPECT_EQ(1, session["in_flight"]);
    EXPECT_EQ(false, dump["sessions"][1]["listener"]);
    EXPECT_EQ((json{{"in_flight", 1}, {"done", 0}}), dump["requests"]);
    EXPECT_EQ(2, dump["tensors"]["alive"]);
    ASSERT_EQ(2U, dump["tensors"]["listed"].size());
    const json& tensor = dump["tensors"]["listed"][0];
    EXPECT_EQ("AINeuralNetworkBuffer", tensor["type"]);
    EXPECT_EQ(100, tensor["bytes"]);
    EXPECT_EQ(getpid(), tensor["pid"]);
    EXPECT_EQ((json{{"descriptors", 2}, {"mappings", 2}, {"mapped_bytes", 200}}), dump["held"]);
    EXPECT_NE(std::string::npos, TextDump(service_).find("  " + IdOf(5) + "  type \"" + kType));

    // What ends after its session is counted, too.
    service_->UnInit(5);
    script_.listener->OnProcessDone(AIContext(), 0, script_.outputs);
    script_.inputs.clear();
    script_.outputs.clear();
    dump = JsonDump(service_);
    EXPECT_EQ(1U, dump["sessions"].size());
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 1}}), dump["requests"]);
    EXPECT_EQ((json{{"alive", 0}, {"listed", json::array()}}), dump["tensors"]);
    EXPECT_EQ((json{{"descriptors", 0}, {"mappings", 0}, {"mapped_bytes", 0}}), dump["held"]);
}

TEST_F(Dump, ShowsOneClientOnRequest) {
    ASSERT_EQ(0, Init(5));
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(first_)}, {}, 0));
    json dump = JsonDump(service_, IdOf(5));
    EXPECT_EQ(1U, dump["sessions"].size());
    EXPECT_EQ(1, dump["requests"]["in_flight"]);
    EXPECT_EQ(1, dump["tensors"]["alive"]);
    EXPECT_FALSE(dump.contains("refusals"));
    EXPECT_EQ(2U, JsonDump(service_, std::to_string(getpid()))["sessions"].size());
    dump = JsonDump(service_, "1:5");
    EXPECT_TRUE(dump["sessions"].empty());
    EXPECT_EQ(0, dump["requests"]["in_flight"]);
    EXPECT_EQ(0, dump["tensors"]["alive"]);
}

TEST_F(Dump, CountsRefusalsByReason) {
    Region shorter(99);
    const Tensors unknown = {TensorIn(first_, "X")};
    const auto init = [&] { (void)static_cast<int32_t>(Init(5)); };
    const auto ask = [&](int32_t client, const Tensors& inputs, const Tensors& outputs) {
        (void)static_cast<int32_t>(service_->Process(client, "", inputs, outputs, 0));
    };
    const auto set = [&](int32_t client, const sp<FakeListener>& listener = nullptr) {
        (void)static_cast<int32_t>(service_->SetListener(client, listener));
    };
    script_.makesNone = true;
    init();
    script_.makesNone = false;
    admission.room = false;
    init();
    admission.room = true;
    (void)service_->Init(5, kType, "", {Model("", &shorter, 100)}).isOk();
    service_->UnInit(5);
    script_.initStatus = 7;
    init();
    service_->UnInit(5);
    script_.initStatus = 0;
    init();
    script_.listenerStatus = script_.requestStatus = 3;
    set(5);
    ask(5, {}, {});
    ask(5, unknown, {});
    ask(5, {}, unknown);
    ask(6, {}, {});
    set(6);
    set(-5);
    set(-5);
    {
        const Fault fault(Call::NothrowNew);
        set(-6);
    }
    service_->OnProcessDone(IdOf(6), AIContext(), 0, {});
    const sp<FakeListener> dead = new FakeListener;
    dead->transport = android::DEAD_OBJECT;
    set(-6, dead);
    service_->OnProcessDone(IdOf(6), AIContext(), 0, {nullptr, nullptr});
    // The journal's own beginning is among those without a listener.
    EXPECT_EQ((json{{"client_limit", 1},
                    {"session_limit", 0},
                    {"unknown_type", 1},
                    {"model_region", 1},
                    {"framework_init", 1},
                    {"no_session", 2},
                    {"input_tensor", 1},
                    {"output_tensor", 1},
                    {"framework_request", 2},
                    {"listener_already_set", 1},
                    {"out_of_memory", 1},
                    {"result_without_listener", 2},
                    {"output_not_sent", 2},
                    {"listener_not_reached", 1},
                    {"build_too_large", 0},
                    {"build_region", 0},
                    {"framework_build", 0}}),
              JsonDump(service_)["refusals"]);
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 0}}), JsonDump(service_)["requests"]);
    EXPECT_NE(std::string::npos, TextDump(service_).find("\n  no_session  2\n"));
    ASSERT_EQ(0, Init(6));
}

TEST_F(Dump, NeedsNothingOfTheClient) {
    EXPECT_TRUE(service_->debug(hidl_handle(), {}).isOk());
    Region empty(1);
    empty.Get()->numFds = 0;
    EXPECT_TRUE(service_->debug(hidl_handle(empty.Get()), {"--json"}).isOk());
    const std::string options = "options: --json, --client ID\n";
    EXPECT_EQ(options, TextDump(service_, {"--all"}));
    EXPECT_EQ(options, TextDump(service_, {"--json", "--client"}));
    EXPECT_EQ(options, TextDump(service_, {"--client", ""}));
}

}  // namespace
}  // namespace orva::hidl::test
