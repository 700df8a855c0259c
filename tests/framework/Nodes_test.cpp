/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>
#include <orva/AINNNodeFactory.h>
#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>

#include "OnnxCase.h"
#include "Support.h"
#include "onnx/WireReader.h"

namespace orva::reference {
namespace {

using test::Bytes;
using test::Floats;
using test::Tensors;
using test::TestTensor;

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
        const size_t before = recorder_->Await(0).size();
        AIContext context;
        const int32_t status = node_->Process(context, inputs, outputs, 0);
        const auto completions = recorder_->Await(0);
        EXPECT_EQ(status == kNodeOk ? before + 1 : before, completions.size());
        return status == kNodeOk ? completions.back().result : status;
    }

    static std::vector<uint8_t> Model(const std::string& name) { return test::CaseModel(name); }

    std::shared_ptr<AIServiceBase> node_;
    std::shared_ptr<test::Recorder> recorder_ = std::make_shared<test::Recorder>();
};

TEST_F(NodesTest, EchoRefusesWhatDoesNotFit) {
    ASSERT_EQ(kNodeOk, Init("echo"));
    const auto other = std::make_shared<TestTensor>(0, std::vector<uint8_t>{1}, "Other");
    const auto empty = Bytes({1});
    empty->SetBuffer(nullptr, 1, false);
    const auto negative = Bytes({1});
    negative->SetBuffer(negative->GetBuffer(), -1, false);
    const auto one = Bytes({1});
    const std::vector<std::pair<Tensors, Tensors>> requests = {
            {{one}, {}},        {{one}, {Bytes({1, 2})}}, {{one, one}, {one}}, {{other}, {one}},
            {{one}, {other}},   {{empty}, {one}},         {{one}, {empty}},    {{nullptr}, {one}},
            {{one}, {nullptr}}, {{negative}, {negative}},
    };
    for (size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(kNodeBadRequest, Process(requests[i].first, requests[i].second)) << i;
    }
}

TEST_F(NodesTest, OnnxTakesBytesForFloats) {
    AIConfig config;
    config.SetPara("scale", "2.5");
    config.SetPara("bias", "-1");
    ASSERT_EQ(kNodeOk, Init("onnx", Model("test_split_equal_parts_1d"), config));
    const auto floats = Floats({0, 0});
    const auto bytes = Bytes({9, 9});
    ASSERT_EQ(kNodeOk, Process({Bytes({0, 2, 3, 200, 10, 1})}, {floats, bytes, Bytes({0, 0})}));
    EXPECT_EQ(Floats({-1, 4})->bytes(), floats->bytes());
    EXPECT_EQ((std::vector<uint8_t>{6, 255}), bytes->bytes()) << "6.5 and 499";
    for (const char* number : {"x", "1x", "nan", "1e999", " "}) {
        config.SetPara("scale", number);
        EXPECT_EQ(kNodeBadConfig, Init("onnx", Model("test_split_equal_parts_1d"), config));
    }
}

TEST_F(NodesTest, OnnxRefusesWhatDoesNotFit) {
    ASSERT_EQ(kNodeOk, Init("onnx", Model("test_sub_uint8")));
    const auto fits = Bytes(std::vector<uint8_t>(60));
    const auto shorter = Bytes(std::vector<uint8_t>(59));
    const auto longer = Bytes(std::vector<uint8_t>(61));
    const auto floats = Floats(std::vector<float>(60));
    const auto typeless = std::make_shared<TestTensor>(2, std::vector<uint8_t>(60));
    EXPECT_EQ(kNodeOk, Process({fits, fits}, {fits}));
    const std::vector<std::pair<Tensors, Tensors>> requests = {
            {{}, {}},
            {{fits}, {fits}},
            {{fits, fits, fits}, {fits}},
            {{fits, fits}, {fits, fits}},
            {{fits, shorter}, {fits}},
            {{fits, fits}, {longer}},
            {{fits, floats}, {fits}},
            {{fits, fits}, {floats}},
            {{typeless, fits}, {fits}},
            {{fits, nullptr}, {fits}},
    };
    for (size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(kNodeBadRequest, Process(requests[i].first, requests[i].second)) << i;
    }
}

TEST_F(NodesTest, OnnxRefusesBrokenModels) {
    EXPECT_EQ(kNodeBadModel, Init("onnx")) << "no model";
    // An operator that there is not, an int64 output, a graph within.
    for (const char* name : {"test_det_2d", "test_argmax_default_axis_example", "test_if"}) {
        EXPECT_EQ(kNodeBadModel, Init("onnx", Model(name))) << name;
    }
    const std::vector<uint8_t> whole = Model("test_split_equal_parts_1d");
    WireReader reader({whole.data(), whole.size()});
    while (reader.Next() && reader.field() != 7) {
    }
    const auto graphEnd =
            static_cast<size_t>(reader.bytes().data + reader.bytes().size - whole.data());
    for (size_t size = 1; size < graphEnd; ++size) {
        EXPECT_EQ(kNodeBadModel, Init("onnx", {whole.begin(), whole.begin() + size})) << size;
        EXPECT_EQ(kNodeNotReady, Process({}, {}));
    }
}

}  // namespace
}  // namespace orva::reference
