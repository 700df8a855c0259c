/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/RunProfile.h"

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>
#include <nlohmann/json.hpp>

#include "OnnxWriter.h"
#include "Support.h"
#include "onnx/OnnxRunner.h"

namespace orva::reference {
namespace {

using namespace test::onnx;
using nlohmann::json;

// y = Relu(x * w), the product being much more work.
std::string Product() {
    constexpr int64_t kSide = 256;
    const std::vector<float> ones(kSide * kSide, 1);
    return Model(Input("x", {kSide, kSide}) + Output("y", {kSide, kSide}) +
                 Initializer(Tensor("w", {kSide, kSide}, Raw(ones))) +
                 Node("MatMul", {"x", "w"}, {"p"}) + Node("Relu", {"p"}, {"y"}));
}

// In a folder for temporary files that nobody else uses.
class RunProfiles : public testing::Test {
protected:
    RunProfiles() {
        EXPECT_NE(nullptr, mkdtemp(folder_));
        setenv("TMPDIR", folder_, 1);
    }
    ~RunProfiles() override {
        EXPECT_EQ(0, Files());
        unsetenv("TMPDIR");
        std::filesystem::remove_all(folder_);
    }

    int Files() const {
        const std::filesystem::directory_iterator files(folder_);
        return static_cast<int>(std::distance(begin(files), end(files)));
    }

private:
    char folder_[32] = "/tmp/orva_profiles_XXXXXX";
};

TEST_F(RunProfiles, TellTheSlowestOperatorsOfARun) {
    const std::string model = Product();
    Cancellation cancellation;
    for (const bool profile : {false, true}) {
        RunnerConfig config;
        config.profile = profile;
        const OnnxRunner runner(Range(model), config, cancellation);
        const auto square = test::Floats(std::vector<float>(256 * 256, 1));
        Request request{{}, {square}, {square}, 0};
        ASSERT_EQ(kNodeOk, runner.Run(request, cancellation));
        EXPECT_EQ(0, Files());
        ASSERT_EQ(profile ? 1U : 0U, request.context.paras().size());
        if (profile) {
            const json table = json::parse(request.context.GetPara("profile"));
            ASSERT_EQ(2u, table.size());
            EXPECT_EQ("MatMul", table[0]["operator"]);
            EXPECT_EQ("Relu", table[1]["operator"]);
            EXPECT_EQ(1, table[0]["calls"]);
            EXPECT_LT(0, table[0]["micros"]);
        }
    }
}

TEST_F(RunProfiles, LookAtOneRunAtATime) {
    Ort::RunOptions first, second;
    std::optional<RunProfile> profile(std::in_place, first);
    EXPECT_EQ(1, Files());
    {
        const RunProfile another(second);
        EXPECT_EQ(1, Files());
        EXPECT_EQ("", another.Table());
    }
    profile.reset();
    EXPECT_EQ(0, Files());
    const RunProfile next(second);
    EXPECT_EQ(1, Files());
    EXPECT_EQ("", next.Table()) << "nothing has run";
}

}  // namespace
}  // namespace orva::reference
