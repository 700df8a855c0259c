/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/StatsLog.h>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

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
    Region large(kLimit), shorter(4095);
    const ModelBuffer good = Model("", &first_, 4096), none = Model("", nullptr, 0),
                      bad = Model("", &shorter, 4096), all = Model("", &large, kLimit),
                      one = Model("", nullptr, 1), more = Model("", nullptr, kLimit + 1),
                      most = Model("", nullptr, UINT64_MAX), half = Model("", &first_, 1ULL << 63);
    const std::string error = "E BuildModel: ModelManagerServiceHIDL::BuildModel ",
                      update = "- UpdateServiceTime 5\n", refused = "- answer 0\n",
                      map = "mmap 4096\n", unmap = "munmap 4096\n", whole = "209715200\n",
                      build = "- framework BuildModel -1: ",
                      success = "I BuildModel: Build model success.\n",
                      failed = error + "Build model failed!\n= 1 framework_build\n",
                      unmapped = "E gMmapBuffer: mmap failed!\n",
                      noInput = error + "tiro input ashmem failed!\n= 1 build_region\n",
                      noOutput = error + "tiro output ashmem failed!\n= 1 build_region\n";
    const auto tooLarge = [&](const std::string& which, uint64_t size) {
        return error + which + " model size [" + std::to_string(size) +
               "] exceed limit: [209715200]\n" + refused + "= 1 build_too_large\n";
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
                     "= 1 no_session\n"},
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
    for (const char* const name : {"", "camera"}) {
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(getuid(), events.back().uid);
        EXPECT_EQ(1, events.back().type);
        EXPECT_EQ("ORVA_ModelManager_buildModel", events.back().key);
        EXPECT_EQ(name, events.back().processName);
        EXPECT_EQ(0, events.back().value);
        events.pop_back();
    }
}

}  // namespace
}  // namespace orva::hidl::test
