/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "onnx/WireReader.h"

namespace orva::reference {

// Element types by ONNX's numbers; the ones that a client's tensors can have.
enum OnnxElementType : int32_t { kOnnxFloat = 1, kOnnxUint8 = 2 };

// A graph's input or output.
struct OnnxValue {
    std::string name;
    int32_t elementType = 0;
    // -1 where the model leaves a dimension open.
    std::vector<int64_t> dims;
    // False when the model says nothing of the shape; dims is empty then, as it is for a scalar.
    bool hasShape = false;
};

// Of each kind of thing in a graph, and in a node, how many there may be. A few bytes describe one,
// and many times as many hold it here.
constexpr size_t kMostOnnxItems = size_t{1} << 16;

// What the file format says of a model, in the order of its graph.
struct OnnxModel {
    // The graph's name; may be empty.
    std::string name;
    // Without the inputs that an initializer gives a value to.
    std::vector<OnnxValue> inputs;
    std::vector<OnnxValue> outputs;
};

// Reads a model file's outline and checks what the engine takes on trust: that tensors in the file
// are as long as their shapes say, and that nodes use values that exist. Takes any bytes. False
// with a reason when the model is refused.
bool ReadOnnxModel(ByteRange file, OnnxModel& model, std::string& reason);

}  // namespace orva::reference
