/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "modelmanager/Fakes.h"
#include "support/services/Dump.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using nlohmann::json;
using ::orva::test::Region;

class ModelManagerDump : public ModelManagerTest {
protected:
    Region first_{100}, second_{100};
};

TEST_F(ModelManagerDump, ShowsSessionsRequestsAndTensors) {
    ASSERT_EQ(0, service_->Init(5, "a \"type\"\n", "", {}));
    ASSERT_EQ(0, Init(6));
    ASSERT_EQ(0, service_->SetListener(-5, new FakeListener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    ASSERT_EQ(0, service_->Process(5, "", {TensorIn(first_)}, {TensorIn(second_)}, 0));
    json dump = JsonDump(service_);
    EXPECT_EQ("IModelManagerService", dump["service"]);
    EXPECT_EQ(getpid(), dump["pid"]);
    ASSERT_EQ(2U, dump["sessions"].size());
    const json& session = dump["sessions"][0];
    EXPECT_EQ(IdOf(5), session["id"]);
    EXPECT_EQ("a \"type\"\n", session["type"]);
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
    EXPECT_NE(std::string::npos, Dump(service_).find("  " + IdOf(5) + "  type \"a \\\"type\\\""));

    script_.listener->OnProcessDone(AIContext(), 0, script_.outputs);
    script_.inputs.clear();
    script_.outputs.clear();
    script_.buildStatus = 1;
    for (const int32_t client : {5, 6}) {
        service_->BuildModel(client, "", 0, {}, ModelBuffer{}, [](uint32_t, int32_t) {});
        script_.buildStatus = 0;
    }
    dump = JsonDump(service_);
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 2}}), dump["requests"]);
    EXPECT_EQ(1, dump["sessions"][0]["done"]);
    EXPECT_EQ((json{{"alive", 0}, {"listed", json::array()}}), dump["tensors"]);
    EXPECT_EQ((json{{"descriptors", 0}, {"mappings", 0}, {"mapped_bytes", 0}}), dump["held"]);
}

TEST_F(ModelManagerDump, ShowsOneClientOnRequest) {
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

TEST_F(ModelManagerDump, CountsRefusalsByReason) {
    Region shorter(99);
    const ModelBuffer bad = Model("", &shorter, 100), large = Model("", nullptr, 209715201);
    const auto ignore = [](uint32_t, int32_t) {};
    const hidl_vec<AITensorHandle> unknown = {TensorIn(first_, "X")};
    managers_ = false;
    Init(5);
    service_->CheckModelCompatibility(5, bad);
    managers_ = true;
    service_->CheckModelCompatibility(5, bad);
    script_.initStatus = 7;
    Init(5);
    script_.initStatus = 0;
    admission.room = false;
    Init(6);
    admission.room = true;
    service_->SetListener(-5, nullptr);
    service_->SetListener(-5, nullptr);
    script_.listenerStatus = script_.processStatus = script_.bindStatus = script_.startStatus = 3;
    service_->SetListener(5, nullptr);
    service_->Process(5, "", {}, {}, 0);
    service_->SetInputsAndOutputs(5, "", {}, {});
    service_->StartCompute(5, "");
    service_->Process(5, "", unknown, {}, 0);
    service_->SetInputsAndOutputs(5, "", unknown, {});
    service_->Process(5, "", {}, unknown, 0);
    service_->SetInputsAndOutputs(5, "", {}, unknown);
    service_->SetListener(6, nullptr);
    service_->Process(6, "", {}, {}, 0);
    service_->SetInputsAndOutputs(6, "", {}, {});
    service_->StartCompute(6, "");
    service_->GetMaxUsedMemory(6);
    service_->CheckModelValid(6);
    service_->GetModelIOTensorDim(6, "", [](const auto&, const auto&, int32_t) {});
    service_->BuildModel(6, "", 0, {}, ModelBuffer{}, ignore);
    service_->BuildModel(5, "", 0, {large}, ModelBuffer{}, ignore);
    service_->BuildModel(5, "", 0, {}, large, ignore);
    service_->BuildModel(5, "", 0, {bad}, ModelBuffer{}, ignore);
    service_->BuildModel(5, "", 0, {}, bad, ignore);
    script_.buildStatus = 1;
    service_->BuildModel(5, "", 0, {}, ModelBuffer{}, ignore);
    service_->OnProcessDone(IdOf(6), AIContext(), 0, {});
    const sp<FakeListener> dead = new FakeListener;
    dead->transport = android::DEAD_OBJECT;
    ASSERT_EQ(0, service_->SetListener(-6, dead));
    service_->OnProcessDone(IdOf(6), AIContext(), 0, {nullptr, nullptr});
    // The journal's own beginning is among those without a listener.
    EXPECT_EQ((json{{"client_limit", 1},
                    {"session_limit", 0},
                    {"unknown_type", 2},
                    {"model_region", 1},
                    {"framework_init", 1},
                    {"no_session", 8},
                    {"input_tensor", 2},
                    {"output_tensor", 2},
                    {"framework_request", 4},
                    {"listener_already_set", 1},
                    {"out_of_memory", 0},
                    {"result_without_listener", 2},
                    {"output_not_sent", 2},
                    {"listener_not_reached", 1},
                    {"build_too_large", 2},
                    {"build_region", 2},
                    {"framework_build", 1}}),
              JsonDump(service_)["refusals"]);
    EXPECT_EQ((json{{"in_flight", 0}, {"done", 0}}), JsonDump(service_)["requests"]);
    EXPECT_NE(std::string::npos, Dump(service_).find("\n  no_session  8\n"));
    ASSERT_EQ(0, Init(6));
}

// A client that holds a lock up is what a dump is asked for.
TEST_F(ModelManagerDump, ComesThroughWhileTheServiceIsBusy) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->during = [&](const auto&) {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump(service_)["sessions"][0]["listener"]);
            EXPECT_NE(std::string::npos, Dump(service_).find("listener locked"));
        }));
        EXPECT_EQ(true, JsonDump(service_)["sessions"][0]["listener"]);
    };
    service_->OnProcessDone(IdOf(5), AIContext(), 0, {});

    bool asked = false;
    reference::SetModelManagerCreator([&]() -> AIModelManager* {
        asked = AnotherThreadCan([&] {
            EXPECT_EQ(json(nullptr), JsonDump(service_)["sessions"]);
            EXPECT_NE(std::string::npos, Dump(service_).find("sessions: locked"));
        });
        return nullptr;
    });
    EXPECT_EQ(1, Init(6));
    EXPECT_TRUE(asked);
}

TEST_F(ModelManagerDump, NeedsNothingOfTheClient) {
    EXPECT_TRUE(service_->debug(hidl_handle(), {}).isOk());
    Region empty(1);
    empty.Get()->numFds = 0;
    EXPECT_TRUE(service_->debug(hidl_handle(empty.Get()), {"--json"}).isOk());
    const std::string options = "options: --json, --client ID\n";
    EXPECT_EQ(options, Dump(service_, {"--all"}));
    EXPECT_EQ(options, Dump(service_, {"--json", "--client"}));
    EXPECT_EQ(options, Dump(service_, {"--client", ""}));
}

}  // namespace
}  // namespace orva::hidl::test
