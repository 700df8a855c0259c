/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "OnnxCase.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "onnx/WireReader.h"

namespace orva::test {

namespace {

using reference::WireReader;

bool ReadTensor(const std::vector<uint8_t>& file, CaseTensor& tensor) {
    WireReader reader({file.data(), file.size()});
    while (reader.Next()) {
        switch (reader.field()) {
        case 1:  // Its dimensions.
        case 8:  // Its name.
            break;
        case 2:
            tensor.elementType = static_cast<int>(reader.value());
            break;
        case 4:
        case 9:
            tensor.bytes.insert(tensor.bytes.end(), reader.bytes().data,
                                reader.bytes().data + reader.bytes().size);
            break;
        default:
            return false;
        }
    }
    return reader.ok() && tensor.elementType != 0;
}

bool ReadTensors(const std::string& prefix, std::vector<CaseTensor>& tensors) {
    for (int i = 0; std::filesystem::exists(prefix + std::to_string(i) + ".pb"); ++i) {
        if (!ReadTensor(ReadFile(prefix + std::to_string(i) + ".pb"), tensors.emplace_back())) {
            return false;
        }
    }
    return true;
}

}  // namespace

const char* const kOnnxCases = "/usr/share/libonnx-testdata/data/node";

bool IsClose(const CaseTensor& expected, const uint8_t* result) {
    if (expected.elementType != 1) {
        return std::memcmp(expected.bytes.data(), result, expected.bytes.size()) == 0;
    }
    for (size_t i = 0; i < expected.bytes.size(); i += sizeof(float)) {
        float wanted = 0, got = 0;
        std::memcpy(&wanted, &expected.bytes[i], sizeof(wanted));
        std::memcpy(&got, &result[i], sizeof(got));
        const bool same = wanted == got || (std::isnan(wanted) && std::isnan(got));
        if (!same && !(std::fabs(wanted - got) <= 1e-4 + 1e-3 * std::fabs(wanted))) {
            return false;
        }
    }
    return true;
}

bool LoadOnnxCase(const std::string& folder, OnnxCase& result) {
    result.model = ReadFile(folder + "/model.onnx");
    return !result.model.empty() &&
           ReadTensors(folder + "/test_data_set_0/input_", result.inputs) &&
           ReadTensors(folder + "/test_data_set_0/output_", result.outputs) &&
           !result.outputs.empty();
}

std::vector<uint8_t> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> ReadNames(const std::string& path) {
    std::vector<std::string> names;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            names.push_back(line);
        }
    }
    return names;
}

}  // namespace orva::test
