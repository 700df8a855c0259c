/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// ONNX's own one-operator cases from a client, through the host, to the engine and back.

#include <cstring>

#include <orva/AINeuralNetworkBuffer.h>

#include "client/lib/Session.h"
#include "framework/OnnxCase.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using client::Model;
using client::Session;
using client::SharedRegion;
using client::Tensor;
using client::TensorAttributes;

Tensor tensorFor(const CaseTensor& tensor) {
    TensorAttributes attributes;
    attributes.dataType = tensor.elementType == 1 ? AI_DATA_TYPE_FLOAT32 : AI_DATA_TYPE_UINT8;
    return Tensor(attributes, tensor.bytes.size());
}

void runCase(const android::sp<client::AIService>& service, const OnnxCase& expected) {
    std::vector<Model> models;
    models.push_back({"", SharedRegion("model", expected.model.size())});
    std::memcpy(models[0].bytes.data(), expected.model.data(), expected.model.size());
    Session session(service, 1, "onnx", "", models);

    std::vector<Tensor> inputs;
    for (const CaseTensor& input : expected.inputs) {
        inputs.push_back(tensorFor(input));
        std::memcpy(inputs.back().data(), input.bytes.data(), input.bytes.size());
    }
    std::vector<Tensor> outputs;
    for (const CaseTensor& output : expected.outputs) {
        outputs.push_back(tensorFor(output));
    }
    session.send("", inputs, outputs);
    const client::Completion result = session.await();
    EXPECT_EQ(result.result, 0);
    ASSERT_EQ(result.outputs.size(), expected.outputs.size());
    for (size_t i = 0; i < expected.outputs.size(); ++i) {
        ASSERT_EQ(result.outputs[i].size(), expected.outputs[i].bytes.size());
        EXPECT_TRUE(IsClose(expected.outputs[i], result.outputs[i].data())) << "output " << i;
    }
}

using OnnxThroughTheService = SystemTest;

TEST_F(OnnxThroughTheService, SupportedOperatorsGiveWhatIsExpected) {
    startHost({});
    const std::vector<std::string> names = ReadNames(ORVA_TEST_DATA "/onnx_operators.txt");
    ASSERT_GE(names.size(), 200u);
    {
        const auto service = client::findService();
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            OnnxCase expected;
            ASSERT_TRUE(LoadOnnxCase(std::string(kOnnxCases) + "/" + name, expected));
            try {
                runCase(service, expected);
            } catch (const std::exception& error) {
                ADD_FAILURE() << error.what();
            }
        }
    }
    const ProcessState now = ProcessState::of(host().pid());
    EXPECT_LE(now.threads, 16u) << now;
}

}  // namespace

}  // namespace orva::test
