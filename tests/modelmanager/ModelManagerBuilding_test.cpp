/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/StatsLog.h>
#include <unistd.h>

#include <cstring>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;

constexpr uint64_t kLimit = 209715200;

LogLine Failure(const std::string& what) {
    return Error("BuildModel", "ModelManagerServiceHIDL::BuildModel " + what);
}

Lines TooLarge(const char* which, uint64_t size) {
    return {Failure(std::string(which) + " model size [" + std::to_string(size) +
                    "] exceed limit: [209715200]")};
}

const Lines kMapFailed = {Error("gMmapBuffer", "mmap failed!")};
const Lines kInputFailed = {Failure("tiro input ashmem failed!")};
const Lines kOutputFailed = {Failure("tiro output ashmem failed!")};
const Lines kBuildFailed = {Failure("Build model failed!")};
const Lines kNoSession = {
        Failure("Cannot find service instance with pid:clientId[" + kOtherId + "].")};

class ModelManagerBuilding : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        ASSERT_EQ(0, Init(5));
    }

    // What a client sees of a build, and what was done by then.
    struct Answer {
        int calls = 0;
        uint32_t size = 77;
        int32_t result = 77;
        size_t unmappedBefore = 0, unmapped = 0;
        Lines linesBefore, linesAfter;
        Entries entries;
    };

    // Regions are borrowed, as in a call from another process.
    Answer Build(int32_t client, const std::vector<ModelBuffer>& inputs, const ModelBuffer& output,
                 const hidl_string& context = "", uint32_t buildParam = 0) {
        Answer answer;
        journal_.Take();
        log_.Take();
        const size_t before = CallCount(Call::Munmap);
        hidl_vec<ModelBuffer> models;
        models.setToExternal(const_cast<ModelBuffer*>(inputs.data()), inputs.size());
        const auto take = [&](uint32_t size, int32_t result) {
            Journal::Note("answer");
            ++answer.calls;
            answer.size = size;
            answer.result = result;
            answer.unmappedBefore = CallCount(Call::Munmap) - before;
            answer.linesBefore = log_.Take();
        };
        EXPECT_TRUE(service_->BuildModel(client, context, buildParam, models, output, take).isOk());
        answer.unmapped = CallCount(Call::Munmap) - before;
        answer.linesAfter = log_.Take();
        answer.entries = journal_.Take();
        return answer;
    }

    Region first_{4096}, second_{4096}, output_{4096};
};

TEST_F(ModelManagerBuilding, HandsTheRegionsToTheModelManager) {
    first_.Write<uint8_t>({1, 2});
    second_.Write<uint8_t>({3, 4});
    script_.duringBuild = [this](const std::vector<MappedBuffer>& inputs,
                                 const MappedBuffer& output, uint32_t& size) {
        ASSERT_EQ(3U, inputs.size());
        EXPECT_EQ(0, memcmp(inputs[0].address, "\1\2", 2));
        EXPECT_EQ(4096U, inputs[0].length);
        EXPECT_EQ(nullptr, inputs[1].address);
        EXPECT_EQ(0U, inputs[1].length);
        EXPECT_EQ(0, memcmp(inputs[2].address, "\3\4", 2));
        EXPECT_EQ(10U, inputs[2].length);
        EXPECT_EQ(4096U, output.length);
        EXPECT_EQ(100U, size);
        // The session may end meanwhile.
        service_->UnInit(5);
        EXPECT_EQ(1, script_.alive);
        memcpy(output.address, "built", 5);
        size = 5;
        log_.Take();
        journal_.Take();
    };
    const Answer answer =
            Build(5, {Model("a", &first_, 4096), Model("", nullptr, 3), Model("b", &second_, 10)},
                  Model("", &output_, 4096), "", UINT32_MAX);
    EXPECT_EQ(-1, script_.param);
    EXPECT_EQ(1, answer.calls);
    EXPECT_EQ(5U, answer.size);
    EXPECT_EQ(0, answer.result);
    // Whoever is told of a success has the regions back.
    EXPECT_EQ(3U, answer.unmappedBefore);
    EXPECT_EQ(3U, answer.unmapped);
    EXPECT_TRUE(answer.linesBefore.empty());
    EXPECT_EQ((Lines{Info("BuildModel", "Build model success.")}), answer.linesAfter);
    EXPECT_EQ((std::vector<char>{'b', 'u', 'i', 'l', 't'}),
              ::orva::test::ReadRegion<char>(output_.Fd(), 5));
    EXPECT_EQ(0, script_.alive);
}

TEST_F(ModelManagerBuilding, NeedsNoRegionAndNoSize) {
    script_.duringBuild = [](const std::vector<MappedBuffer>& inputs, const MappedBuffer& output,
                             uint32_t&) {
        EXPECT_TRUE(inputs.empty());
        EXPECT_EQ(nullptr, output.address);
        EXPECT_EQ(0U, output.length);
    };
    const Answer answer = Build(5, {}, Model("", nullptr, kLimit));
    EXPECT_EQ(100U, answer.size);
    EXPECT_EQ(0, answer.result);
    EXPECT_EQ((Entries{"- UpdateServiceTime 5", "- framework BuildModel", "- answer"}),
              answer.entries);
}

TEST_F(ModelManagerBuilding, AnswersWhatWentWrong) {
    Region large(kLimit), shorter(4095);
    const ModelBuffer good = Model("", &first_, 4096), none = Model("", nullptr, 0),
                      bad = Model("", &shorter, 4096), all = Model("", &large, kLimit),
                      one = Model("", nullptr, 1), more = Model("", nullptr, kLimit + 1),
                      most = Model("", nullptr, UINT64_MAX), half = Model("", &first_, 1ULL << 63);
    const Lines tooMuch = TooLarge("input", kLimit + 1), maximum = TooLarge("input", UINT64_MAX),
                resultTooLarge = TooLarge("output", kLimit + 1);
    const struct {
        const char* what;
        int32_t client;
        std::vector<ModelBuffer> inputs;
        ModelBuffer output;
        int32_t status;
        // By the answer and afterwards.
        size_t unmappedBefore, unmapped;
        Lines linesBefore, linesAfter;
        const char* refusal;
    } cases[] = {
            // Both before the session is looked for.
            {"too much", 6, {all, one}, more, 0, 0, 0, tooMuch, {}, "build_too_large"},
            {"too large a result", 6, {all}, more, 0, 0, 0, resultTooLarge, {}, "build_too_large"},
            {"2^64 - 1 bytes", 5, {most}, none, 0, 0, 0, maximum, {}, "build_too_large"},
            {"no session", 6, {all}, all, 0, 0, 0, kNoSession, {}, "no_session"},
            {"as much as may be", 5, {all}, all, 3, 0, 2, {}, kBuildFailed, "framework_build"},
            {"sum wraps", 5, {half, half}, none, 0, 0, 0, kMapFailed, kInputFailed, "build_region"},
            {"third",
             5,
             {good, good, bad},
             good,
             0,
             2,
             2,
             kMapFailed,
             kInputFailed,
             "build_region"},
            {"output", 5, {good, none}, bad, 0, 0, 1, kMapFailed, kOutputFailed, "build_region"},
            {"model manager", 5, {good, good}, good, -1, 0, 3, {}, kBuildFailed, "framework_build"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        script_.buildStatus = each.status;
        const Answer answer = Build(each.client, each.inputs, each.output);
        EXPECT_EQ(1, answer.calls);
        EXPECT_EQ(0U, answer.size);
        EXPECT_EQ(1, answer.result);
        EXPECT_EQ(each.unmappedBefore, answer.unmappedBefore);
        EXPECT_EQ(each.unmapped, answer.unmapped);
        EXPECT_EQ(each.linesBefore, answer.linesBefore);
        EXPECT_EQ(each.linesAfter, answer.linesAfter);
        EXPECT_EQ("- answer", answer.entries.back());
        EXPECT_EQ(each.status != 0 ? 3U : each.linesAfter.empty() ? 1U : 2U, answer.entries.size());
        EXPECT_EQ(each.refusal, NewRefusals());
    }
}

TEST_F(ModelManagerBuilding, EveryCallIsCounted) {
    const uint64_t before = reference::StatsEventCount();
    Build(5, {}, ModelBuffer{}, "{\"processName\":\"camera\"}");
    Build(6, {Model("", nullptr, kLimit + 1)}, ModelBuffer{}, "not a context");
    EXPECT_EQ(before + 2, reference::StatsEventCount());
    const std::vector<reference::StatsEvent> events = reference::LatestStatsEvents();
    ASSERT_LE(2U, events.size());
    const char* const names[] = {"camera", ""};
    for (size_t i = 0; i < 2; ++i) {
        const reference::StatsEvent& event = events[events.size() - 2 + i];
        EXPECT_EQ(getuid(), event.uid);
        EXPECT_EQ(1, event.type);
        EXPECT_EQ("ORVA_ModelManager_buildModel", event.key);
        EXPECT_EQ(names[i], event.processName);
        EXPECT_EQ(0, event.value);
    }
}

}  // namespace
}  // namespace orva::hidl::test
