/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/OnnxCase.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "client/model/TensorShape.h"
#include "framework/CaseModel.h"
#include "onnx/ElementType.h"
#include "onnx/OnnxModel.h"
#include "onnx/WireReader.h"

namespace orva::test {

namespace {

using reference::ByteRange;
using reference::WireReader;

// Each number takes as many bytes as an element of the tensor has.
void AppendVarints(WireReader& reader, size_t size, std::vector<uint8_t>& bytes) {
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

bool ReadTensor(const std::vector<uint8_t>& file, CaseTensor& tensor) {
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
            AppendVarints(reader, sizeof(int64_t), dims);
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
            AppendVarints(reader, size, tensor.bytes);
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

bool ReadTensors(const std::string& prefix, std::vector<CaseTensor>& tensors) {
    for (int i = 0; std::filesystem::exists(prefix + std::to_string(i) + ".pb"); ++i) {
        if (!ReadTensor(ReadFile(prefix + std::to_string(i) + ".pb"), tensors.emplace_back())) {
            return false;
        }
    }
    return true;
}

// The files have no bfloat16, and hold it as uint16; what it is, the model says.
void TakeTypes(const std::vector<reference::OnnxValue>& values, std::vector<CaseTensor>& tensors) {
    constexpr int kUint16 = 4;
    constexpr int kBfloat16 = 16;
    for (size_t i = 0; i < std::min(values.size(), tensors.size()); ++i) {
        if (tensors[i].elementType == kUint16 && values[i].elementType == kBfloat16) {
            tensors[i].elementType = kBfloat16;
        }
    }
}

}  // namespace

bool IsClose(const CaseTensor& expected, const uint8_t* result) {
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
        const double wanted = client::valueAt(element, &expected.bytes[i]);
        const double got = client::valueAt(element, &result[i]);
        const bool same = wanted == got || (std::isnan(wanted) && std::isnan(got));
        if (!same && !(std::fabs(wanted - got) <= nearly / 10 + nearly * std::fabs(wanted))) {
            return false;
        }
    }
    return true;
}

bool LoadOnnxCase(const std::string& name, OnnxCase& result) {
    const std::string folder = kOnnxCases + name;
    result.model = ReadFile(folder + "/model.onnx");
    reference::OnnxModel model;
    std::string reason;
    if (!ReadOnnxModel({result.model.data(), result.model.size()}, model, reason) ||
        !ReadTensors(folder + "/test_data_set_0/input_", result.inputs) ||
        !ReadTensors(folder + "/test_data_set_0/output_", result.outputs)) {
        return false;
    }
    TakeTypes(model.inputs, result.inputs);
    TakeTypes(model.outputs, result.outputs);
    return !result.outputs.empty();
}

std::map<std::string, std::string> ReadVerdicts(const std::string& path) {
    std::map<std::string, std::string> verdicts;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t space = line.find(' ');
        if (!line.empty() && line[0] != '#' && space != std::string::npos) {
            verdicts[line.substr(0, space)] = line.substr(space + 1);
        }
    }
    return verdicts;
}

}  // namespace orva::test
