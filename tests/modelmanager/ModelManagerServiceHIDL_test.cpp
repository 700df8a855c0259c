/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/StatsLog.h>

#include "services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

// As text, one after another.
std::string TextOf(const hidl_vec<TensorDimension>& dimensions) {
    std::string text;
    for (const TensorDimension& each : dimensions) {
        for (const int32_t dim : {each.dim0, each.dim1, each.dim2, each.dim3}) {
            text += " " + std::to_string(dim);
        }
    }
    return text;
}

class ModelManagerQueries : public ServiceTest {
protected:
    std::string Dimensions() {
        int32_t result = -1;
        const auto answer = [&](const auto& inputs, const auto& outputs, int32_t status) {
            NoteCall("answer" + TextOf(inputs) + "," + TextOf(outputs));
            result = status;
        };
        EXPECT_TRUE(service_->GetModelIOTensorDim(5, "face", answer).isOk());
        return Outcome(result);
    }
};

TEST_F(ModelManagerQueries, SayWhatBecomesOfThem) {
    const struct {
        std::string method, blank;
        std::function<std::string()> ask;
        std::string noAnswer = {}, answer = {};
    } cases[] = {
            {"GetMaxUsedMemory", " ", [&] { return Outcome(service_->GetMaxUsedMemory(5)); }},
            {"CheckModelValid", " ", [&] { return Outcome(service_->CheckModelValid(5)); }},
            // What a failed call has put into the lists stays with the model manager.
            {"GetModelIOTensorDim", "  ", [&] { return Dimensions(); }, "answer,\n",
             "answer, 1 2 3 4 -1 0 2147483647 -2147483648\n"},
    };
    script_.outputDimensions = {{1, 2, 3, 4, "", 0}, {-1, 0, INT32_MAX, INT32_MIN, "", 0}};
    for (const auto& each : cases) {
        const std::string called =
                "I " + each.method + ": ModelManagerServiceHIDL" + each.blank + each.method + "\n";
        const bool answers = !each.answer.empty();
        EXPECT_EQ(called + "E " + each.method + ": " + each.method +
                          " service PID:5 is not create\n" + (answers ? "S " : "") + each.noAnswer +
                          "= 2 refused\n",
                  each.ask());
        ASSERT_EQ(0, Init(5));
        for (const int32_t status : {2, -4, 0}) {
            Story();
            script_.status = status;
            EXPECT_EQ(called + "- UpdateServiceTime 5\n- framework " + each.method +
                              (answers ? " face\n- " : "\n") +
                              (status == 0 ? each.answer : each.noAnswer) + "= " +
                              std::to_string(status) +
                              (answers && status != 0 ? " refused\n" : "\n"),
                      each.ask());
        }
        service_->UnInit(5);
        Story();
    }
    ASSERT_EQ(0, Init(5));
    script_.inputDimensions.assign(3000, {5, 6, 7, 8, "", 0});
    EXPECT_NE(std::string::npos, Dimensions().find("7 8 5 6 7 8, 1 2"));
}

TEST_F(ModelManagerQueries, CompatibilityIsAskedOfAModelManagerOfItsOwn) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    const std::string called =
            "I CheckModelCompatibility: ModelManagerServiceHIDL CheckModelCompatibility\n";
    const std::string asked = called +
                              "- framework made\n- framework CheckModelCompatibility\n"
                              "- framework gone\n= -12\n";
    script_.status = -12;
    EXPECT_EQ(asked, Outcome(service_->CheckModelCompatibility(5, Model("a", &region, 3))));
    ASSERT_EQ(1U, script_.models.size());
    EXPECT_EQ("a", script_.models[0].name());
    ASSERT_EQ(3U, script_.models[0].data_size());
    EXPECT_EQ(3, script_.models[0].data()[2]);
    EXPECT_EQ(asked,
              Outcome(service_->CheckModelCompatibility(5, Model("b", nullptr, 1ULL << 63))));
    EXPECT_EQ(nullptr, script_.models[0].data());

    const std::string unmapped = called +
                                 "- framework made\nE CheckModelCompatibility: mmap fail\n"
                                 "- framework gone\n= 1 refused\n";
    for (const uint64_t size : {uint64_t{0}, uint64_t{4097}, UINT64_MAX}) {
        EXPECT_EQ(unmapped,
                  Outcome(service_->CheckModelCompatibility(5, Model("a", &region, size))));
    }
    script_.makesNone = true;
    EXPECT_EQ(called + "E CheckModelCompatibility: create AIModelManagerService error\n"
                       "= 1 refused\n",
              Outcome(service_->CheckModelCompatibility(5, Model("a", &region, 4097))));
}

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
                "I Init: AIModelManagerImpl count more than 200\n= 1 refused\n",
                Outcome(Init(client)));
    }
    service_->UnInit(200);
    EXPECT_EQ(0, Init(201));
    EXPECT_EQ(1, Init(202));
    for (int32_t client = 0; client < 202; ++client) {
        service_->UnInit(client);
    }
}

// As calling them would, and with all that comes before.
TEST_F(ModelManagerService, EmptyCallbacksThrowInTheEndAndLeaveNothingLocked) {
    const uint64_t before = reference::StatsEventCount();
    const hidl_vec<ModelBuffer> none;
    EXPECT_THROW(service_->BuildModel(5, "", 0, none, {}, nullptr), std::bad_function_call);
    EXPECT_EQ(before + 1, reference::StatsEventCount());
    Story();
    const std::string called =
            "I GetModelIOTensorDim: ModelManagerServiceHIDL  GetModelIOTensorDim\n";
    EXPECT_THROW(service_->GetModelIOTensorDim(5, "face", nullptr), std::bad_function_call);
    EXPECT_EQ(called + "E GetModelIOTensorDim: GetModelIOTensorDim service PID:5 is not create\n",
              Story());
    ASSERT_EQ(0, Init(5));
    Story();
    EXPECT_THROW(service_->GetModelIOTensorDim(5, "face", nullptr), std::bad_function_call);
    EXPECT_EQ(called + "- UpdateServiceTime 5\n- framework GetModelIOTensorDim face\n", Story());
    EXPECT_THROW(service_->BuildModel(5, "", 0, none, {}, nullptr), std::bad_function_call);
    EXPECT_EQ(0, static_cast<int32_t>(service_->CheckModelValid(5)));
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
        EXPECT_EQ(reached + (status == 0 ? "= 0\n" : "= 1 refused\n"),
                  Outcome(service_->StartCompute(5, "{\"k\":\"v\"}")));
    }
    EXPECT_EQ(called + "E StartCompute: StartCompute service PID:6 is not create\n= 1 refused\n",
              Outcome(service_->StartCompute(6, "")));
}

// A client that holds a lock up is what a dump is asked for.
TEST_F(ModelManagerService, IsDumpedWhileItIsBusy) {
    const sp<FakeListener> listener = Listen();
    listener->during = [&](const auto&) {
        InAnotherThread([&] { EXPECT_NE(std::string::npos, Dump().find("state \"open\"")); });
    };
    script_.listener->OnProcessDone(AIContext(), 0, {});
}

constexpr uint64_t kLimit = 209715200;

class ModelManagerBuilding : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        ASSERT_EQ(0, Init(5));
        Story();
    }

    // What comes of a build, with the mappings and the answers to the client. Regions are borrowed,
    // as in a call from another process.
    std::string Build(int32_t client, const std::vector<ModelBuffer>& inputs,
                      const ModelBuffer& output, const char* context = "", uint32_t param = 0) {
        hidl_vec<ModelBuffer> models;
        models.setToExternal(const_cast<ModelBuffer*>(inputs.data()), inputs.size());
        int32_t status = -1;
        const auto take = [&](uint32_t size, int32_t result) {
            NoteCall("answer " + std::to_string(size));
            status = result;
        };
        const ::orva::test::CallTrace trace;
        EXPECT_TRUE(service_->BuildModel(client, context, param, models, output, take).isOk());
        return Outcome(status);
    }

    Region first_{4096}, second_{4096}, output_{4096};
};

TEST_F(ModelManagerBuilding, SaysWhatBecomesOfIt) {
    first_.Write<uint8_t>({7});
    second_.Write<uint8_t>({9});
    const ::orva::test::FullRegions noneIsHollow;
    Region large(kLimit), shorter(0);
    const ModelBuffer good = Model("", &first_, 4096), none = Model("", nullptr, 0),
                      bad = Model("", &shorter, 4096), all = Model("", &large, kLimit),
                      one = Model("", nullptr, 1), more = Model("", nullptr, kLimit + 1),
                      most = Model("", nullptr, UINT64_MAX), half = Model("", &first_, 1ULL << 63);
    const std::string error = "E BuildModel: ModelManagerServiceHIDL::BuildModel ",
                      update = "- UpdateServiceTime 5\n", refused = "- answer 0\n",
                      map = "mmap 4096\n", unmap = "munmap 4096\n", whole = "209715200\n",
                      build = "- framework BuildModel -1: ",
                      success = "I BuildModel: Build model success.\n",
                      failed = error + "Build model failed!\n= 1 refused\n",
                      unmapped = "E gMmapBuffer: mmap failed!\n",
                      noInput = error + "tiro input ashmem failed!\n= 1 refused\n",
                      noOutput = error + "tiro output ashmem failed!\n= 1 refused\n";
    const auto tooLarge = [&](const std::string& which, uint64_t size) {
        return error + which + " model size [" + std::to_string(size) +
               "] exceed limit: [209715200]\n" + refused + "= 1 refused\n";
    };
    const struct {
        int32_t client;
        std::vector<ModelBuffer> inputs;
        ModelBuffer output;
        int32_t frameworkStatus;
        std::string outcome;
    } cases[] = {
            // The sizes come before the session.
            {6, {all, one}, more, 0, tooLarge("input", kLimit + 1)},
            {6, {all}, more, 0, tooLarge("output", kLimit + 1)},
            {5, {most}, none, 0, tooLarge("input", UINT64_MAX)},
            {6,
             {all},
             all,
             0,
             error + "Cannot find service instance with pid:clientId[PID:6].\n" + refused +
                     "= 1 refused\n"},
            // The sum of these wraps around.
            {5, {half, half}, none, 0, update + unmapped + refused + noInput},
            // Sources that were mapped are let go of before the answer, or after it.
            {5, {good, bad}, good, 0, update + map + unmapped + unmap + refused + noInput},
            {5, {good, none}, bad, 0, update + map + unmapped + refused + unmap + noOutput},
            {5,
             {good},
             good,
             -1,
             update + map + map + build + "4096 > 4096\n" + refused + unmap + unmap + failed},
            {5,
             {all},
             all,
             3,
             update + "mmap " + whole + "mmap " + whole + build + "209715200 > " + whole + refused +
                     "munmap " + whole + "munmap " + whole + failed},
            // Whoever is told of a success has the regions back.
            {5,
             {good, none, Model("", &second_, 10)},
             Model("", &output_, 4095),
             0,
             update + map + "mmap 10\nmmap 4095\n" + build + "4096 0 10 > 4095\nmunmap 4096\n" +
                     "munmap 10\nmunmap 4095\n- answer 2\n" + success + "= 0\n"},
            // Neither a region is needed nor a size.
            {5,
             {},
             Model("", nullptr, kLimit),
             0,
             update + build + "> 0\n- answer 100\n" + success + "= 0\n"},
    };
    for (const auto& each : cases) {
        script_.status = each.frameworkStatus;
        EXPECT_EQ(each.outcome, Build(each.client, each.inputs, each.output, "", UINT32_MAX));
    }
    EXPECT_EQ((std::vector<uint8_t>{7, 9}), ::orva::test::ReadRegion<uint8_t>(output_.Fd(), 2));

    // The session may end meanwhile.
    script_.status = 0;
    script_.during = [this] { service_->UnInit(5); };
    const std::string told = Build(5, {good}, good), end = "- framework gone\n= 0\n";
    EXPECT_EQ(told.size() - end.size(), told.find(success + end) + success.size()) << told;
}

TEST_F(ModelManagerBuilding, EveryCallIsCounted) {
    const uint64_t before = reference::StatsEventCount();
    Build(5, {}, ModelBuffer{}, "{\"processName\":\"camera\"}");
    Build(6, {Model("", nullptr, kLimit + 1)}, ModelBuffer{}, "not a context");
    EXPECT_EQ(before + 2, reference::StatsEventCount());
    std::vector<reference::StatsEvent> events = reference::LatestStatsEvents();
    for (const std::string name : {"", "camera"}) {
        ASSERT_FALSE(events.empty());
        const auto& [uid, type, key, processName, value] = events.back();
        EXPECT_EQ(std::tuple(getuid(), 1, "ORVA_ModelManager_buildModel", name, 0),
                  std::tuple(uid, type, key, processName, value));
        events.pop_back();
    }
}

}  // namespace
}  // namespace orva::hidl::test
