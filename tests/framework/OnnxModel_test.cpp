/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <gtest/gtest.h>

#include "onnx/Engine.h"

namespace orva::reference {
namespace {

// Protobuf, written by hand.
std::string Varint(uint64_t value) {
    std::string out;
    for (; value >= 0x80; value >>= 7) {
        out += static_cast<char>(value | 0x80);
    }
    return out + static_cast<char>(value);
}
std::string Number(uint32_t field, uint64_t value) {
    return Varint(field << 3) + Varint(value);
}
std::string Text(uint32_t field, const std::string& bytes) {
    return Varint(field << 3 | 2) + Varint(bytes.size()) + bytes;
}

using Dims = std::vector<int64_t>;

// A dimension of -1 is one with a name instead of a size.
std::string Value(const std::string& name, const Dims& dims) {
    std::string shape;
    for (const int64_t dim : dims) {
        shape += Text(1, dim < 0 ? Text(2, "N") : Number(1, static_cast<uint64_t>(dim)));
    }
    return Text(1, name) + Text(2, Text(1, Number(1, kOnnxFloat) + Text(2, shape)));
}
std::string Node(const std::string& type, const std::vector<std::string>& inputs,
                 const std::vector<std::string>& outputs, const std::string& attributes = "") {
    std::string node = Text(4, type) + attributes;
    for (const std::string& input : inputs) {
        node += Text(1, input);
    }
    for (const std::string& output : outputs) {
        node += Text(2, output);
    }
    return Text(1, node);
}
std::string Numbers(uint32_t field, const Dims& numbers) {
    std::string all;
    for (const int64_t number : numbers) {
        all += Number(field, static_cast<uint64_t>(number));
    }
    return all;
}
std::string Attribute(const std::string& name, const Dims& numbers) {
    return Text(5, Text(1, name) + Number(20, 7) + Numbers(8, numbers));
}
std::string Tensor(const Dims& dims, const std::string& content) {
    return Numbers(1, dims) + Number(2, kOnnxFloat) + Text(8, "w") + content;
}
std::string Graph(const std::string& content) {
    return Number(1, 7) + Text(7, content) + Text(8, Text(1, "") + Number(2, 12));
}
const std::string kX = Text(11, Value("x", {2, 3}));
const std::string kY = Text(12, Value("y", {2, 3}));
const std::string kRelu = Node("Relu", {"x"}, {"y"});
// Two values are added, of which the second stands in the file.
std::string AddModel(const std::string& tensor) {
    return Graph(kX + kY + Node("Add", {"x", "w"}, {"y"}) + Text(5, tensor));
}
std::string ConvModel(const std::string& attributes, const Dims& weights = {1, 1, 3, 3}) {
    return Graph(Text(11, Value("x", {1, 1, 8, 8})) + Text(11, Value("w", weights)) +
                 Text(12, Value("y", {1, 1, -1, -1})) +
                 Node("Conv", {"x", "w"}, {"y"}, attributes));
}

// A few bytes again and again.
std::string Many(const std::string& bytes, size_t count) {
    std::string all;
    for (; count > 0; --count) {
        all += bytes;
    }
    return all;
}

ByteRange Range(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

TEST(OnnxModel, RefusesWithTheReason) {
    const std::string whole = Graph(kX + kY + kRelu);
    const struct {
        const char* what;
        std::string file;
        const char* reason;
    } cases[] = {
            {"no graph", Number(1, 7), "not an ONNX model"},
            {"cut off", whole.substr(0, whole.size() - 1), "not an ONNX model"},
            {"two graphs", whole + Text(7, ""), "more than one graph"},
            {"an endless number", std::string(11, '\xff') + whole, "not an ONNX model"},
            {"a length near 2^64", whole + Varint(9 << 3 | 2) + Varint(UINT64_MAX), "not an ONNX"},
            {"a broken graph", Graph(kX + kY + kRelu + "\x0a"), "graph is malformed"},
            {"a node that is a number", Graph(kX + kY + Number(1, 1)), "wrong type"},
            {"an input twice", Graph(kX + kX + kY + kRelu), "input x"},
            {"too many dimensions", Graph(Text(11, Value("x", Dims(33, 1))) + kY), "shape of x"},
            {"an output from nowhere", Graph(kX + kY), "no node makes output y"},
            {"a node before what it uses", Graph(kX + kY + Node("Relu", {"z"}, {"y"})), "uses z"},
            {"a node without its inputs", Graph(kX + kY + Node("Add", {"x"}, {"y"})), "too few"},
            {"a node without an output", Graph(kX + kRelu + Node("Relu", {"x"}, {})), "malformed"},
            {"a value made twice", Graph(kX + kY + kRelu + kRelu), "made twice"},
            {"too many outputs", Graph(kX + kY + Node("Relu", {"x"}, {"y", "z"})), "several"},
            {"a constant without a value", Graph(kY + Node("Constant", {}, {"y"})), "Constant"},
            {"a tensor too short", AddModel(Tensor({2, 3}, Text(9, "five floats, not six"))),
             "tensor w"},
            {"a tensor that stands elsewhere", AddModel(Tensor({0}, Text(13, ""))), "tensor "},
            {"sizes whose product overflows", AddModel(Tensor(Dims(5, 1 << 30), "")), "tensor "},
            {"a size below 0 in a tensor", AddModel(Tensor({-1}, Text(9, "four"))), "tensor "},
            {"a stride of 0", ConvModel(Attribute("strides", {1, 0})), "Conv"},
            {"padding without bounds", ConvModel(Attribute("pads", {0, 0, 0, INT64_MAX})), "Conv"},
            {"a window of another rank", ConvModel(Attribute("kernel_shape", {3, 3, 3})), "Conv"},
            {"weights of another rank", ConvModel("", {1, 1, 3}), "Conv"},
            {"nodes without end", Graph(Many(Text(1, ""), 70'000)), "too large"},
            {"inputs without end", Graph(Many(Text(11, ""), 70'000)), "too large"},
            {"outputs without end", Graph(Many(Text(12, ""), 2'000)), "too large"},
            {"attributes without end", ConvModel(Attribute("strides", Dims(70'000, 1))),
             "malformed"},
    };
    for (const auto& testCase : cases) {
        OnnxModel model;
        std::string reason;
        EXPECT_FALSE(ReadOnnxModel(Range(testCase.file), model, reason)) << testCase.what;
        EXPECT_NE(std::string::npos, reason.find(testCase.reason))
                << testCase.what << ": " << reason;
    }
    for (const std::string& file : {whole, ConvModel(Attribute("strides", {2, 2}))}) {
        OnnxModel model;
        std::string reason;
        EXPECT_TRUE(ReadOnnxModel(Range(file), model, reason)) << reason;
    }
}

TEST(Engine, TakesDimensionsLeftOpenForOneAndNoneThatNoTensorCouldHave) {
    const auto model = [](const Dims& dims) {
        return Graph(Text(11, Value("x", dims)) + kRelu + Text(12, Value("y", dims)));
    };
    const std::string open = model({-1, 3, -1});
    const Engine engine(Range(open));
    EXPECT_EQ((std::vector<int>{1, 3, 1}), engine.inputs()[0].dims);
    EXPECT_EQ((std::vector<int>{1, 3, 1}), engine.outputs()[0].dims);
    for (const Dims& dims : {Dims{0}, Dims{1 << 14, 1 << 14}, Dims{INT64_MAX, INT64_MAX}}) {
        const std::string file = model(dims);
        EXPECT_THROW(Engine{Range(file)}, std::runtime_error);
    }
}

}  // namespace
}  // namespace orva::reference
