/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orva::reference {

using Dims = std::vector<int64_t>;

// An input or output of a loaded model.
struct EngineTensor {
    std::string name;
    // AITensorDataType.
    int dataType = 0;
    // -1 where the model leaves a dimension open.
    Dims dims;
    // The model's name for each dimension that it leaves open; empty where there is none.
    std::vector<std::string> dimNames;
    // False when the model does not even say how many dimensions there are.
    bool hasShape = true;
};

// What a tensor can have at most, for its size is a signed number of 32 bits.
constexpr int64_t kMostBytes = INT32_MAX;
// Inputs of a model; outputs of a model.
constexpr size_t kMostTensors = 1024;

// How many elements dimensions make; -1 when one is open, or they make more than kMostBytes.
inline int64_t ElementsOf(const Dims& dims) {
    int64_t elements = 1;
    bool open = false;
    for (const int64_t dim : dims) {
        open = open || dim < 0;
    }
    for (const int64_t dim : dims) {
        if (open || (elements != 0 && dim > kMostBytes / elements)) {
            return -1;
        }
        elements *= dim;
    }
    return elements;
}

// "1x3x480x640"; an open dimension is its name, or "?". "scalar" without dimensions.
inline std::string TextOf(const Dims& dims, const std::vector<std::string>& names = {}) {
    std::string text;
    for (size_t i = 0; i < dims.size(); ++i) {
        text += text.empty() ? "" : "x";
        text += dims[i] >= 0                            ? std::to_string(dims[i])
                : i < names.size() && !names[i].empty() ? names[i]
                                                        : "?";
    }
    return text.empty() ? "scalar" : text;
}

}  // namespace orva::reference
