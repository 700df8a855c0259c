/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>

#include <exception>

#include "OnnxCase.h"
#include "onnx/Engine.h"
#include "orva/AINeuralNetworkBuffer.h"

namespace orva::reference {
namespace {

BufferView View(test::CaseTensor& tensor, std::vector<uint8_t>& bytes) {
    return {bytes.data(), bytes.size(),
            tensor.elementType == 1 ? AI_DATA_TYPE_FLOAT32 : AI_DATA_TYPE_UINT8};
}

void RunCase(const std::string& name) {
    test::OnnxCase testCase;
    ASSERT_TRUE(test::LoadOnnxCase(std::string(test::kOnnxCases) + "/" + name, testCase));
    Engine engine({testCase.model.data(), testCase.model.size()});
    std::vector<BufferView> inputs;
    for (test::CaseTensor& input : testCase.inputs) {
        inputs.push_back(View(input, input.bytes));
    }
    std::vector<std::vector<uint8_t>> results;
    for (const test::CaseTensor& output : testCase.outputs) {
        results.emplace_back(output.bytes.size(), 0xee);
    }
    std::vector<BufferView> outputs;
    for (size_t i = 0; i < results.size(); ++i) {
        outputs.push_back(View(testCase.outputs[i], results[i]));
    }
    std::string reason;
    ASSERT_TRUE(engine.Accepts(inputs, outputs, reason)) << reason;
    // The second run must not be coloured by the first.
    for (int run = 0; run < 2; ++run) {
        engine.Run(inputs, outputs, {});
        for (size_t i = 0; i < results.size(); ++i) {
            EXPECT_TRUE(test::IsClose(testCase.outputs[i], results[i].data())) << "output " << i;
        }
    }
}

TEST(OnnxOperators, TheSupportedOnesGiveWhatIsExpected) {
    const std::vector<std::string> names = test::ReadNames(ORVA_TEST_DATA "/onnx_operators.txt");
    ASSERT_GE(names.size(), 200u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        try {
            RunCase(name);
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
    }
}

}  // namespace
}  // namespace orva::reference
