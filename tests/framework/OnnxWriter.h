/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "onnx/WireReader.h"

// ONNX files, written by hand field by field, so that they can be wrong in any way.
namespace orva::test::onnx {

inline std::string Varint(uint64_t value) {
    std::string out;
    for (; value >= 0x80; value >>= 7) {
        out += static_cast<char>(value | 0x80);
    }
    return out + static_cast<char>(value);
}
inline std::string Number(uint32_t field, uint64_t value) {
    return Varint(field << 3) + Varint(value);
}
inline std::string Text(uint32_t field, const std::string& bytes) {
    return Varint(field << 3 | 2) + Varint(bytes.size()) + bytes;
}
// The same field again and again.
inline std::string Many(const std::string& bytes, size_t count) {
    std::string all;
    for (; count > 0; --count) {
        all += bytes;
    }
    return all;
}
template <class Element>
std::string Raw(const std::vector<Element>& elements) {
    return Text(9, std::string(reinterpret_cast<const char*>(elements.data()),
                               elements.size() * sizeof(Element)));
}

constexpr uint64_t kFloat = 1;
constexpr uint64_t kInt64 = 7;

using Dims = std::vector<int64_t>;

// Dimensions below 0 are open, -1 without a name, -2 of the name N.
inline std::string Value(const std::string& name, const Dims& dims, uint64_t type = kFloat) {
    std::string shape;
    for (const int64_t dim : dims) {
        shape += Text(1, dim == -2 ? Text(2, "N")
                         : dim < 0 ? ""
                                   : Number(1, static_cast<uint64_t>(dim)));
    }
    return Text(1, name) + Text(2, Text(1, Number(1, type) + Text(2, shape)));
}
inline std::string Input(const std::string& name, const Dims& dims, uint64_t type = kFloat) {
    return Text(11, Value(name, dims, type));
}
inline std::string Output(const std::string& name, const Dims& dims, uint64_t type = kFloat) {
    return Text(12, Value(name, dims, type));
}
inline std::string Node(const std::string& type, const std::vector<std::string>& inputs,
                        const std::vector<std::string>& outputs, const std::string& attributes = "",
                        const std::string& domain = "") {
    std::string node = Text(4, type) + attributes;
    for (const std::string& input : inputs) {
        node += Text(1, input);
    }
    for (const std::string& output : outputs) {
        node += Text(2, output);
    }
    return Text(1, node + (domain.empty() ? "" : Text(7, domain)));
}
inline std::string Numbers(uint32_t field, const Dims& numbers) {
    std::string all;
    for (const int64_t number : numbers) {
        all += Number(field, static_cast<uint64_t>(number));
    }
    return all;
}
inline std::string Tensor(const std::string& name, const Dims& dims, const std::string& content,
                          uint64_t type = kFloat) {
    return Numbers(1, dims) + Number(2, type) + Text(8, name) + content;
}
inline std::string Initializer(const std::string& tensor) {
    return Text(5, tensor);
}
// An attribute that is a graph.
inline std::string GraphAttribute(const std::string& name, const std::string& graph) {
    return Text(5, Text(1, name) + Number(20, 5) + Text(6, graph));
}
inline std::string TensorAttribute(const std::string& name, const std::string& tensor) {
    return Text(5, Text(1, name) + Number(20, 4) + Text(5, tensor));
}
// A function of the model's own; `nodes` are as Node makes them.
inline std::string Function(const std::string& name, const std::vector<std::string>& nodes) {
    std::string function = Text(1, name) + Text(4, "x") + Text(5, "y") + Text(10, "own") +
                           Text(9, Text(1, "") + Number(2, 13)) +
                           Text(9, Text(1, "own") + Number(2, 1));
    for (const std::string& node : nodes) {
        // A graph's nodes are field 1, a function's are field 7.
        function += static_cast<char>(7 << 3 | 2) + node.substr(1);
    }
    return Text(25, function);
}
inline std::string Model(const std::string& graph, const std::string& more = "") {
    return Number(1, 8) + Text(7, graph + Text(2, "g")) + Text(8, Text(1, "") + Number(2, 13)) +
           Text(8, Text(1, "own") + Number(2, 1)) + more;
}

inline reference::ByteRange Range(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}
inline std::vector<uint8_t> Bytes(const std::string& bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace orva::test::onnx
