/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "onnx/EngineTensor.h"
#include "onnx/WireReader.h"

namespace orva::reference {

// A graph's input or output.
struct OnnxValue {
    std::string name;
    // ONNX's number; 0 for what is no tensor.
    int32_t elementType = 0;
    // -1 where the model leaves a dimension open, and then its name, or none.
    Dims dims;
    std::vector<std::string> dimNames;
    // False when the model says nothing of the shape; dims is empty then, as it is for a scalar.
    bool hasShape = false;
};

// Nodes and tensors of a model, those of graphs within graphs and of functions among them, each as
// often as it is used. A few bytes describe one, and many times as many hold it in the engine.
constexpr size_t kMostOnnxItems = size_t{1} << 16;

// What the file format says of a model, in the order of its graph.
struct OnnxModel {
    // The graph's name; may be empty.
    std::string name;
    // The version of ONNX's operators that it is for; 0 when it does not say.
    int64_t operatorSet = 0;
    // Without the inputs that an initializer gives a value to.
    std::vector<OnnxValue> inputs;
    std::vector<OnnxValue> outputs;
    // Nodes whose result may be known before any input is.
    size_t constantNodes = 0;
    // Whether nodes go through the same numbers twice, and would be led astray if those had changed
    // meanwhile.
    bool rereads = false;
    // Inputs that must not hold a number beyond 32 bits.
    std::set<std::string> smallInputs;
};

// Reads a model file's outline and checks what the engine takes on trust: that it nests, repeats
// and claims no more than its size warrants, and that all of it stands in the file. Takes any
// bytes. False with a reason when the model is refused.
bool ReadOnnxModel(ByteRange file, OnnxModel& model, std::string& reason);

}  // namespace orva::reference
