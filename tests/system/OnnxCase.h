/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orva::test {

// A tensor of a test case, its elements as they stand in memory.
struct CaseTensor {
    // ONNX's type number.
    int elementType = 0;
    std::vector<int64_t> dims;
    std::vector<uint8_t> bytes;
};

// Whether a result is what a case expects: numbers with fractions nearly, all others exactly.
bool IsClose(const CaseTensor& expected, const uint8_t* result);

// A folder of ONNX's own one-operator test cases: a model, and what it is to make of what.
struct OnnxCase {
    std::vector<uint8_t> model;
    std::vector<CaseTensor> inputs;
    std::vector<CaseTensor> outputs;
};

// Reads the case of a name with its first set of data. False when it lacks a model or holds
// something other than tensors of numbers.
bool LoadOnnxCase(const std::string& name, OnnxCase& result);

// The lines "NAME VERDICT reason…" of a list file, by their names: verdict and reason. Those that
// start with '#' are comments.
std::map<std::string, std::string> ReadVerdicts(const std::string& path);

}  // namespace orva::test
