/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace orva::test {

// ONNX's own one-operator test cases, each a folder: where Debian's libonnx-testdata puts them.
constexpr char kOnnxCases[] = "/usr/share/libonnx-testdata/data/node/";

inline std::vector<uint8_t> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {});
}

// The model of a case, by the case's name.
inline std::vector<uint8_t> CaseModel(const std::string& name) {
    return ReadFile(kOnnxCases + name + "/model.onnx");
}

}  // namespace orva::test
