/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>

#include "modelmanager/Fakes.h"

namespace orva::hidl::test {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using ::orva::test::Region;
using Tensors = hidl_vec<AITensorHandle>;

class ModelManagerRequests : public ModelManagerTest {
protected:
    // Of the service itself, not of the layers below.
    Lines OwnLines() {
        Lines lines;
        for (LogLine& line : log_.Take()) {
            if (line.tag == kTag) {
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }

    Region first_{100}, second_{100}, shorter_{99};
};

TEST_F(ModelManagerRequests, ReachTheModelManager) {
    ASSERT_EQ(0, Init(5));
    const std::string update = "- UpdateServiceTime " + IdOf(5);
    const struct {
        const char* name;
        std::function<int32_t(const Tensors&, const Tensors&)> call;
    } methods[] = {
            {"Process",
             [&](const Tensors& inputs, const Tensors& outputs) -> int32_t {
                 return service_->Process(5, "{\"k\":\"v\"}", inputs, outputs, -3);
             }},
            {"SetInputsAndOutputs",
             [&](const Tensors& inputs, const Tensors& outputs) -> int32_t {
                 return service_->SetInputsAndOutputs(5, "{\"k\":\"v\"}", inputs, outputs);
             }},
    };
    first_.Write<uint8_t>({7});
    for (const auto& method : methods) {
        SCOPED_TRACE(method.name);
        const std::string name = method.name;
        journal_.Take();
        log_.Take();
        EXPECT_EQ(0, method.call({TensorIn(first_), TensorIn(first_)}, {TensorIn(second_)}));
        EXPECT_EQ((Entries{update, "- manager " + name}), journal_.Take());
        Lines lines = OwnLines();
        ASSERT_EQ(4U, lines.size());
        lines.pop_back();  // the context, whose quotes end the form
        EXPECT_EQ((Lines{Info(method.name, "ModelManagerServiceHIDL " + name),
                         Info(method.name, name + " tensorstype AINeuralNetworkBuffer"),
                         Info(method.name, name + " tensorstype AINeuralNetworkBuffer")}),
                  lines);
        EXPECT_EQ("v", script_.context.GetPara("k"));
        ASSERT_EQ(2U, script_.inputs.size());
        ASSERT_EQ(1U, script_.outputs.size());
        // Both ends see the same bytes.
        auto& input = static_cast<AISimpleTensor&>(*script_.inputs[1]);
        EXPECT_EQ(7, *static_cast<uint8_t*>(input.GetBuffer()));
        auto& output = static_cast<AISimpleTensor&>(*script_.outputs[0]);
        ++*static_cast<uint8_t*>(output.GetBuffer());
        EXPECT_EQ(0, method.call({}, {}));
        EXPECT_TRUE(script_.inputs.empty() && script_.outputs.empty());
    }
    EXPECT_EQ(-3, script_.param);
    EXPECT_EQ((std::vector<uint8_t>{2}), ::orva::test::ReadRegion<uint8_t>(second_.Fd(), 1));
}

TEST_F(ModelManagerRequests, AnswerWhatWentWrong) {
    ASSERT_EQ(0, Init(5));
    const AITensorHandle good = TensorIn(first_), unknown = TensorIn(first_, "X"),
                         bad = TensorIn(shorter_);
    enum Row { kNoSession, kUnknownInput, kBadInput, kUnknownOutput, kBadOutput, kRows };
    const struct {
        int32_t client;
        Tensors inputs, outputs;
        const char* process;
        const char* bind;
    } rows[kRows] = {
            {6,
             {unknown},
             {},
             "Process service 6 is not create",
             "SetInputsAndOutputs service 6 is not create"},
            {5,
             {good, unknown},
             {unknown},
             "Process input data DeserializeFrom failed",
             "SetInputsAndOutputs input tensor DeserializeFrom failed"},
            {5,
             {bad},
             {},
             "Process input data DeserializeFrom failed",
             "SetInputsAndOutputs input tensor DeserializeFrom failed"},
            {5,
             {good},
             {good, unknown},
             "Process output tensor create failed",
             "SetInputsAndOutputs output tensor DeserializeFrom failed"},
            {5,
             {good},
             {bad},
             "Process output data DeserializeFrom failed",
             "SetInputsAndOutputs output tensor DeserializeFrom failed"},
    };
    for (int row = 0; row < kRows; ++row) {
        SCOPED_TRACE(row);
        const auto& each = rows[row];
        const auto expected = [&](const char* function, std::string message) {
            const size_t id = message.find("service 6");
            if (id != std::string::npos) {
                message.replace(id, 9, "service " + IdOf(6));
            }
            return Lines{Error(function, message)};
        };
        const int32_t status = row == kNoSession ? 2 : 1;
        journal_.Take();
        log_.Take();
        EXPECT_EQ(status, service_->Process(each.client, "", each.inputs, each.outputs, 0));
        EXPECT_EQ(expected("Process", each.process), Errors());
        EXPECT_EQ(status,
                  service_->SetInputsAndOutputs(each.client, "", each.inputs, each.outputs));
        EXPECT_EQ(expected("SetInputsAndOutputs", each.bind), Errors());
        EXPECT_TRUE(journal_.Take().empty());
    }
}

// Of Process alone, and there of the outputs alone.
TEST_F(ModelManagerRequests, UnknownOutputTypeIsFoundBeforeTheRegistry) {
    ASSERT_EQ(0, Init(5));
    const Tensors unknown = {TensorIn(first_, "X")};
    const auto askedRegistry = [&] {
        const Lines lines = log_.Take(ANDROID_LOG_ERROR);
        return std::any_of(lines.begin(), lines.end(), [](const LogLine& line) {
            return line.message == "tensor is nullptr.";
        });
    };
    log_.Take();
    EXPECT_EQ(1, service_->Process(5, "", {}, unknown, 0));
    EXPECT_FALSE(askedRegistry());
    EXPECT_EQ(1, service_->Process(5, "", unknown, {}, 0));
    EXPECT_TRUE(askedRegistry());
    EXPECT_EQ(1, service_->SetInputsAndOutputs(5, "", {}, unknown));
    EXPECT_TRUE(askedRegistry());
}

TEST_F(ModelManagerRequests, OnlyStartComputeHidesTheModelManagersStatus) {
    ASSERT_EQ(0, Init(5));
    script_.processStatus = script_.bindStatus = script_.startStatus = -7;
    log_.Take();
    EXPECT_EQ(-7, service_->Process(5, "", {}, {}, 0));
    EXPECT_EQ(-7, service_->SetInputsAndOutputs(5, "", {}, {}));
    journal_.Take();
    EXPECT_EQ(1, service_->StartCompute(5, "{\"k\":\"v\"}"));
    EXPECT_EQ((Entries{"- UpdateServiceTime " + IdOf(5), "- manager StartCompute"}),
              journal_.Take());
    EXPECT_EQ("v", script_.context.GetPara("k"));
    EXPECT_TRUE(Errors().empty());
    script_.startStatus = 0;
    EXPECT_EQ(0, service_->StartCompute(5, "c"));
    EXPECT_EQ((Lines{Info("StartCompute", "ModelManagerServiceHIDL StartCompute"),
                     Info("StartCompute", "StartCompute context: c")}),
              OwnLines());

    EXPECT_EQ(1, service_->StartCompute(6, ""));
    EXPECT_EQ((Lines{Error("StartCompute", "StartCompute service " + IdOf(6) + " is not create")}),
              Errors());
}

}  // namespace
}  // namespace orva::hidl::test
