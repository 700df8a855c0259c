/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <map>
#include <sstream>

#include <gtest/gtest.h>
#include <orva/AINNNodeFactory.h>
#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>

#include "CaseModel.h"
#include "Support.h"

namespace orva::reference {
namespace {

using test::Bytes;
using test::CaseModel;
using test::Floats;
using test::Tensors;
using test::TestTensor;

// Six floats in, three times two out.
const char* const kSplit = "test_split_equal_parts_1d";

// Nodes whose requests run within Process.
class NodesTest : public testing::Test {
protected:
    NodesTest() { UseExecutor(std::make_shared<InlineExecutor>()); }
    ~NodesTest() override { UseExecutor(nullptr); }

    int32_t Init(const std::string& type, const std::vector<uint8_t>& model = {},
                 const AIConfig& config = AIConfig()) {
        node_ = AINNNodeFactory::GetInstance()->CreateNNNode(type);
        std::vector<AIModelDescription> models;
        if (!model.empty()) {
            models.emplace_back().set_data(model.data(), model.size());
        }
        node_->RegisterListener(recorder_);
        return node_->Init(config, models);
    }

    // The status of a refused request, or the result of an accepted one.
    int32_t Process(const Tensors& inputs, const Tensors& outputs) {
        AIContext context;
        const int32_t status = node_->Process(context, inputs, outputs, 0);
        return status == kNodeOk ? recorder_->Await(0).back().result : status;
    }

    std::shared_ptr<AIServiceBase> node_;
    std::shared_ptr<test::Recorder> recorder_ = std::make_shared<test::Recorder>();
};

TEST_F(NodesTest, RefuseTensorsThatDoNotFit) {
    const auto empty = Bytes({1}), negative = Bytes({1});
    empty->SetBuffer(nullptr, 60, false);
    negative->SetBuffer(negative->GetBuffer(), -1, false);
    const std::vector<uint8_t> sixty(60);
    const std::map<char, std::shared_ptr<IAITensor>> tensors = {
            {'f', Bytes(sixty)},  // It fits.
            {'s', Bytes(std::vector<uint8_t>(59))},
            {'l', Bytes(std::vector<uint8_t>(61))},
            {'F', Floats(std::vector<float>(60))},
            {'t', std::make_shared<TestTensor>(2, sixty)},  // No data type is 2.
            {'o', std::make_shared<TestTensor>(0, sixty, "Other")},
            {'e', empty},
            {'-', negative},
            {'0', nullptr},
    };
    // Words of a letter a tensor: inputs>outputs.
    const auto expectRefused = [&](const char* requests) {
        std::istringstream words(requests);
        for (std::string word; words >> word;) {
            Tensors inputs, outputs;
            const size_t middle = word.find('>');
            for (size_t i = 0; i < word.size(); ++i) {
                if (i != middle) {
                    (i < middle ? inputs : outputs).push_back(tensors.at(word[i]));
                }
            }
            EXPECT_EQ(kNodeBadRequest, Process(inputs, outputs)) << word;
        }
    };
    ASSERT_EQ(kNodeOk, Init("echo"));
    expectRefused("f> f>l ff>f o>f f>o e>f f>e 0>f f>0 ->-");
    // Two times sixty bytes in, sixty out.
    ASSERT_EQ(kNodeOk, Init("onnx", CaseModel("test_sub_uint8")));
    expectRefused("> f>f fff>f ff>ff fs>f ff>l fF>f ff>F tf>f f0>f");
}

TEST_F(NodesTest, OnnxTakesBytesForFloats) {
    AIConfig config;
    config.SetPara("scale", "2.5");
    config.SetPara("bias", "-1");
    ASSERT_EQ(kNodeOk, Init("onnx", CaseModel(kSplit), config));
    const auto floats = Floats({0, 0});
    const auto bytes = Bytes({9, 9});
    ASSERT_EQ(kNodeOk, Process({Bytes({0, 2, 3, 200, 10, 1})}, {floats, bytes, Bytes({0, 0})}));
    EXPECT_EQ(Floats({-1, 4})->bytes(), floats->bytes());
    EXPECT_EQ((std::vector<uint8_t>{6, 255}), bytes->bytes()) << "6.5 and 499";
    config.SetPara("scale", "x");
    EXPECT_EQ(kNodeBadConfig, Init("onnx", CaseModel(kSplit), config));
}

TEST_F(NodesTest, OnnxRefusesBrokenModels) {
    EXPECT_EQ(kNodeBadModel, Init("onnx")) << "no model";
    EXPECT_EQ(kNodeNotReady, Process({}, {}));
    // Strings, a sequence, a value that may be missing.
    for (const char* name : {"test_strnormalizer_nostopwords_nochangecase",
                             "test_sequence_insert_at_back", "test_optional_has_element"}) {
        EXPECT_EQ(kNodeBadModel, Init("onnx", CaseModel(name))) << name;
    }
}

}  // namespace
}  // namespace orva::reference
