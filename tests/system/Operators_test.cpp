/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// All of ONNX's own one-operator cases, through the host to the engine and back.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include <orva/AINeuralNetworkBuffer.h>

#include "client/model/TensorShape.h"
#include "framework/CaseModel.h"
#include "onnx/ElementType.h"
#include "onnx/OnnxModel.h"
#include "onnx/WireReader.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using client::Session;
using client::Tensor;
using client::TensorAttributes;
using reference::ByteRange;
using reference::WireReader;

// A tensor of a test case, its elements as they stand in memory.
struct CaseTensor {
    int elementType = 0;  // ONNX's number of it
    std::vector<int64_t> dims;
    std::vector<uint8_t> bytes;
};

// A folder of ONNX's own one-operator test cases: a model, and what it is to make of what.
struct OnnxCase {
    std::vector<uint8_t> model;
    std::vector<CaseTensor> inputs;
    std::vector<CaseTensor> outputs;
};

// Each number takes as many bytes as an element of the tensor has.
void appendVarints(WireReader& reader, size_t size, std::vector<uint8_t>& bytes) {
    const auto append = [&](uint64_t value) {
        const auto* const low = reinterpret_cast<const uint8_t*>(&value);
        bytes.insert(bytes.end(), low, low + size);
    };
    if (reader.type() == WireReader::kVarint) {
        append(reader.value());
        return;
    }
    ByteRange packed = reader.bytes();
    for (uint64_t value = 0; WireReader::TakeVarint(packed, value);) {
        append(value);
    }
}

bool readTensor(const std::vector<uint8_t>& file, CaseTensor& tensor) {
    const ByteRange whole{file.data(), file.size()};
    size_t size = 0;
    for (WireReader reader(whole); reader.Next();) {
        if (reader.field() == 2) {
            tensor.elementType = static_cast<int>(reader.value());
        }
    }
    if (const auto* type = reference::ElementTypeOfOnnx(tensor.elementType)) {
        size = type->size;
    }
    std::vector<uint8_t> dims;
    WireReader reader(whole);
    while (size != 0 && reader.Next()) {
        switch (reader.field()) {
        case 1:
            appendVarints(reader, sizeof(int64_t), dims);
            break;
        case 2:
        case 8:  // Its name.
            break;
        case 4:
        case 9:
        case 10:
            tensor.bytes.insert(tensor.bytes.end(), reader.bytes().data,
                                reader.bytes().data + reader.bytes().size);
            break;
        case 5:
        case 7:
        case 11:
            appendVarints(reader, size, tensor.bytes);
            break;
        default:
            return false;
        }
    }
    tensor.dims.resize(dims.size() / sizeof(int64_t));
    if (!dims.empty()) {  // A scalar has none.
        std::memcpy(tensor.dims.data(), dims.data(), dims.size());
    }
    return size != 0 && reader.ok();
}

bool readTensors(const std::string& prefix, std::vector<CaseTensor>& tensors) {
    for (int i = 0; std::filesystem::exists(prefix + std::to_string(i) + ".pb"); ++i) {
        if (!readTensor(ReadFile(prefix + std::to_string(i) + ".pb"), tensors.emplace_back())) {
            return false;
        }
    }
    return true;
}

// The files have no bfloat16, and hold it as uint16; what it is, the model says.
void takeTypes(const std::vector<reference::OnnxValue>& values, std::vector<CaseTensor>& tensors) {
    constexpr int kUint16 = 4;
    constexpr int kBfloat16 = 16;
    for (size_t i = 0; i < std::min(values.size(), tensors.size()); ++i) {
        if (tensors[i].elementType == kUint16 && values[i].elementType == kBfloat16) {
            tensors[i].elementType = kBfloat16;
        }
    }
}

// Whether a result is what a case expects: numbers with fractions nearly, all others exactly.
bool isClose(const CaseTensor& expected, const uint8_t* result) {
    const reference::ElementType& type = *reference::ElementTypeOfOnnx(expected.elementType);
    double nearly = 0;
    switch (type.dataType) {
    case AI_DATA_TYPE_FLOAT32:
    case AI_DATA_TYPE_FLOAT64:
        nearly = 1e-3;
        break;
    case AI_DATA_TYPE_FLOAT16:
    case AI_DATA_TYPE_BFLOAT16:
        nearly = 1e-2;
        break;
    default:
        return std::equal(expected.bytes.begin(), expected.bytes.end(), result);
    }
    for (size_t i = 0; i < expected.bytes.size(); i += type.size) {
        const auto element = static_cast<client::ElementType>(type.dataType);
        const long double wanted = client::valueAt(element, &expected.bytes[i]);
        const long double got = client::valueAt(element, &result[i]);
        const bool same = wanted == got || (std::isnan(wanted) && std::isnan(got));
        if (!same && !(std::fabs(wanted - got) <= nearly / 10 + nearly * std::fabs(wanted))) {
            return false;
        }
    }
    return true;
}

// Reads the case of a name with its first set of data. False when it lacks a model or holds
// something other than tensors of numbers.
bool loadCase(const std::string& name, OnnxCase& result) {
    const std::string folder = kOnnxCases + name;
    result.model = ReadFile(folder + "/model.onnx");
    reference::OnnxModel model;
    std::string reason;
    if (!ReadOnnxModel({result.model.data(), result.model.size()}, model, reason) ||
        !readTensors(folder + "/test_data_set_0/input_", result.inputs) ||
        !readTensors(folder + "/test_data_set_0/output_", result.outputs)) {
        return false;
    }
    takeTypes(model.inputs, result.inputs);
    takeTypes(model.outputs, result.outputs);
    return !result.outputs.empty();
}

// The lines "NAME VERDICT reason…" of a list file, by their names: the verdicts. Those that start
// with '#' are comments.
std::map<std::string, std::string> readVerdicts(const std::string& path) {
    std::map<std::string, std::string> verdicts;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        if (std::string name, verdict; words >> name >> verdict && name[0] != '#') {
            verdicts[name] = verdict;
        }
    }
    return verdicts;
}

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
    if (!loadCase(name, expected)) {
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
            if (!isClose(expected.outputs[i], result.outputs[i].data())) {
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
            readVerdicts(ORVA_TEST_DATA "/onnx_exceptions.txt");
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
            EXPECT_EQ(exception == listed.end() ? "right" : exception->second, word)
                    << name << ": " << verdict;
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
