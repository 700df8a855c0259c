/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// All of ONNX's own one-operator cases, through the host to the engine and back.

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include <orva/AINeuralNetworkBuffer.h>

#include "framework/CaseModel.h"
#include "onnx/ElementType.h"
#include "system/OnnxCase.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using client::Session;
using client::Tensor;
using client::TensorAttributes;

// Where the dimensions go that only a request settles.
TensorAttributes attributesOf(const CaseTensor& tensor) {
    TensorAttributes attributes;
    attributes.dataType = reference::ElementTypeOfOnnx(tensor.elementType)->dataType;
    int32_t* const fields[] = {&attributes.number, &attributes.channel, &attributes.height,
                               &attributes.width};
    for (size_t i = 0; i < std::min(std::size(fields), tensor.dims.size()); ++i) {
        *fields[i] = static_cast<int32_t>(tensor.dims[i]);
    }
    return attributes;
}

// What is not filled is nothing that a case expects.
std::vector<Tensor> tensorsFor(const std::vector<CaseTensor>& expected, bool filled) {
    std::vector<Tensor> tensors;
    for (const CaseTensor& each : expected) {
        // There are no regions of no bytes.
        const size_t size = std::max<size_t>(each.bytes.size(), 1);
        tensors.emplace_back(attributesOf(each), size);
        std::memset(tensors.back().data(), 0x5a, size);
        if (filled && !each.bytes.empty()) {
            std::memcpy(tensors.back().data(), each.bytes.data(), each.bytes.size());
        }
    }
    return tensors;
}

// "right", "wrong", or "refused" with what the service or this process said.
std::string verdictOn(const android::sp<client::AIService>& service, const std::string& name) {
    OnnxCase expected;
    if (!LoadOnnxCase(name, expected)) {
        return "refused: what goes in or out is no tensor of numbers";
    }
    try {
        std::vector<client::Model> models;
        models.push_back({"", client::SharedRegion("model", expected.model.size())});
        std::memcpy(models[0].bytes.data(), expected.model.data(), expected.model.size());
        Session session(service, 1, "onnx", "", models);
        const std::vector<Tensor> inputs = tensorsFor(expected.inputs, true),
                                  outputs = tensorsFor(expected.outputs, false);
        session.send("", inputs, outputs);
        const client::Completion result = session.await();
        if (result.result != 0) {
            return "refused: result " + std::to_string(result.result);
        }
        for (size_t i = 0; i < expected.outputs.size(); ++i) {
            if (!IsClose(expected.outputs[i], result.outputs[i].data())) {
                return "wrong";
            }
        }
    } catch (const std::exception& error) {
        return std::string("refused: ") + error.what();
    }
    return "right";
}

class Operators : public SystemTest {};

// What is not listed is right; what is listed is what the list says, and never silently wrong but
// for those that it names.
TEST_F(Operators, GiveWhatIsExpectedOrAReason) {
    const std::map<std::string, std::string> listed =
            ReadVerdicts(ORVA_TEST_DATA "/onnx_exceptions.txt");
    startHost();
    std::map<std::string, int> counts;
    {
        const auto service = client::findService();
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(kOnnxCases)) {
            names.insert(entry.path().filename());
        }
        for (const std::string& name : names) {
            const std::string verdict = verdictOn(service, name);
            const std::string word = verdict.substr(0, verdict.find(':'));
            const auto exception = listed.find(name);
            const std::string expected =
                    exception == listed.end()
                            ? "right"
                            : exception->second.substr(0, exception->second.find(' '));
            EXPECT_EQ(expected, word) << name << ": " << verdict;
            ++counts[word];
        }
    }
    EXPECT_GE(counts["right"], 850);
    RecordProperty("right", counts["right"]);
    RecordProperty("refused", counts["refused"]);
    RecordProperty("wrong", counts["wrong"]);
    EXPECT_LE(ProcessState::of(host().pid()).threads, 16U);
}

}  // namespace

}  // namespace orva::test
