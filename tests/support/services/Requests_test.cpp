/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using Requests = ServiceTest;

TEST_F(Requests, SayWhatBecomesOfThem) {
    ASSERT_EQ(0, Init(5));
    Story();
    Region region(100), shorter(99);
    const AITensorHandle good = TensorIn(region), unknown = TensorIn(region, "X"),
                         bad = TensorIn(shorter);
    const std::string below = "E AINeuralNetworkBufferHIDL ";
    const std::string noTensor = below + "DeserializeFrom: tensor is nullptr.\n",
                      unmapped = below + "Init: mmap fail\n";
    for (const Method& method : Methods(*service_, "{\"k\":\"v\"}")) {
        const std::string name = method.name, info = "I " + name + ": ", error = "E " + name + ": ";
        const auto typed = [&](const char* type) {
            return method.namesTypes ? info + name + " tensorstype " + type + "\n" : "";
        };
        const auto failed = [&](const char* which) {
            return error + name + " " + which + " " + method.tensor + " DeserializeFrom failed\n";
        };
        const std::string goodInput = typed("AINeuralNetworkBuffer"),
                          noInput = failed("input") + "= 1 input_tensor\n",
                          noOutput = failed("output") + "= 1 output_tensor\n",
                          unknownOutput = method.makesOutputs
                                                  ? error + name +
                                                            " output tensor create failed\n" +
                                                            "= 1 output_tensor\n"
                                                  : noTensor + noOutput,
                          reached = info + name +
                                    " context: {\"k\":\"v\"}\n- UpdateServiceTime 5\n" +
                                    "- framework " + (name == "Process" ? "Process -3" : name) +
                                    " {\"k\":\"v\"}\n";
        const struct {
            int32_t client;
            Tensors inputs, outputs;
            int32_t frameworkStatus;
            std::string outcome;
        } cases[] = {
                {6,
                 {unknown},
                 {},
                 0,
                 error + name + " service PID:6 is not create\n= 2 no_session\n"},
                {5, {good, unknown}, {good}, 0, goodInput + typed("X") + noTensor + noInput},
                {5, {bad}, {unknown}, 0, goodInput + unmapped + noInput},
                {5, {good}, {good, unknown}, 0, goodInput + unknownOutput},
                {5, {good}, {good, bad}, 0, goodInput + unmapped + noOutput},
                {5, {good}, {}, -9, goodInput + reached + "= -9 framework_request\n"},
                {5, {}, {}, 0, reached + "= 0\n"},
                {5, {good, good}, {good}, 0, goodInput + goodInput + reached + "= 0\n"},
        };
        for (const auto& each : cases) {
            script_.status = each.frameworkStatus;
            EXPECT_EQ(info + kName + " " + name + "\n" + each.outcome,
                      Outcome(method.call(each.client, each.inputs, each.outputs)));
        }
        EXPECT_EQ(2U, script_.inputs.size());
        EXPECT_EQ(1U, script_.outputs.size());
    }
}

}  // namespace
}  // namespace orva::hidl::test
