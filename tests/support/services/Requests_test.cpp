/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

class Requests : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        ASSERT_EQ(0, Init(5));
        journal_.Take();
        log_.Take();
    }

    // The product's errors, without the framework's.
    Lines AllErrors() {
        Lines errors = log_.Take(ANDROID_LOG_ERROR);
        errors.erase(std::remove_if(errors.begin(), errors.end(),
                                    [](const LogLine& line) { return line.tag == "ORVA"; }),
                     errors.end());
        return errors;
    }

    Region first_{100}, second_{100}, shorter_{99};
};

TEST_F(Requests, ReachTheFramework) {
    first_.Write<uint8_t>({7});
    uint8_t written = 0;
    for (const Method& method : Methods(*service_, "{\"k\":\"v\"}")) {
        SCOPED_TRACE(method.name);
        const std::string name = method.name;
        EXPECT_EQ(0, method.call(5, {TensorIn(first_), TensorIn(first_)}, {TensorIn(second_)}));
        EXPECT_EQ((Entries{"- UpdateServiceTime 5", "- framework " + name}), journal_.Take());
        const LogLine type = Info(method.name, name + " tensorstype AINeuralNetworkBuffer");
        EXPECT_EQ(Lines{Info(method.name, kName + " " + name)} +
                          (method.namesInputTypes ? Lines{type, type} : Lines()) +
                          Lines{Info(method.name, name + " context: {\"k\":\"v\"}")},
                  log_.Take());
        EXPECT_EQ("v", script_.context.GetPara("k"));
        ASSERT_EQ(2U, script_.inputs.size());
        ASSERT_EQ(1U, script_.outputs.size());
        // Both ends see the same bytes, also after the call's own descriptors have gone.
        auto& input = static_cast<AISimpleTensor&>(*script_.inputs[1]);
        auto& output = static_cast<AISimpleTensor&>(*script_.outputs[0]);
        EXPECT_EQ(7, *static_cast<uint8_t*>(input.GetBuffer()));
        *static_cast<uint8_t*>(output.GetBuffer()) = ++written;
        EXPECT_EQ((std::vector<uint8_t>{written}),
                  ::orva::test::ReadRegion<uint8_t>(second_.Fd(), 1));
    }
    EXPECT_EQ(-3, script_.param);
}

TEST_F(Requests, AnswerWhatWentWrong) {
    const AITensorHandle good = TensorIn(first_), unknown = TensorIn(first_, "X"),
                         bad = TensorIn(shorter_);
    const auto below = [](const char* function, const char* message) {
        return Lines{{ANDROID_LOG_ERROR, "AINeuralNetworkBufferHIDL", function, message}};
    };
    const Lines noTensor = below("DeserializeFrom", "tensor is nullptr."),
                unmappable = below("Init", "mmap fail");
    for (const Method& method : Methods(*service_, "")) {
        const std::string name = method.name;
        const Lines noSession = {Error(method.name,
                                       name + " service " + kOtherId + " is not create")},
                    inputError = {Error(method.name, method.inputError)},
                    outputError = {Error(method.name, method.outputError)},
                    unknownOutput = method.unknownOutputError != nullptr
                                            ? Lines{Error(method.name, method.unknownOutputError)}
                                            : noTensor + outputError;
        const Entries reached = {"- UpdateServiceTime 5", "- framework " + name};
        const Lines noInput = noTensor + inputError, badInput = unmappable + inputError,
                    badOutput = unmappable + outputError;
        const struct {
            const char* refusal;
            int32_t client;
            Tensors inputs, outputs;
            int32_t status;
            Lines errors;
            Entries entries;
        } cases[] = {
                {"no_session", 6, {unknown}, {}, 2, noSession, {}},
                {"input_tensor", 5, {good, unknown}, {good}, 1, noInput, {}},
                {"input_tensor", 5, {bad}, {unknown}, 1, badInput, {}},
                {"output_tensor", 5, {good}, {good, unknown}, 1, unknownOutput, {}},
                {"output_tensor", 5, {good}, {good, bad}, 1, badOutput, {}},
                {"framework_request", 5, {good}, {}, -9, {}, reached},
                {"", 5, {}, {}, 0, {}, reached},
        };
        for (const auto& each : cases) {
            SCOPED_TRACE(name + " " + each.refusal);
            journal_.Take();
            log_.Take();
            script_.requestStatus = each.status;
            EXPECT_EQ(each.status, method.call(each.client, each.inputs, each.outputs));
            EXPECT_EQ(each.errors, AllErrors());
            EXPECT_EQ(each.entries, journal_.Take());
            EXPECT_EQ(each.refusal, NewRefusals());
        }
        EXPECT_TRUE(script_.inputs.empty());
    }
}

}  // namespace
}  // namespace orva::hidl::test
