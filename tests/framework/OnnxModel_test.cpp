/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <gtest/gtest.h>

#include <random>

#include "OnnxCase.h"
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
std::string Value(const std::string& name, const Dims& dims, int type = kOnnxFloat) {
    std::string shape;
    for (const int64_t dim : dims) {
        shape += Text(1, dim < 0 ? Text(2, "N") : Number(1, static_cast<uint64_t>(dim)));
    }
    return Text(1, name) + Text(2, Text(1, Number(1, type) + Text(2, shape)));
}
std::string Node(const std::string& type, const std::vector<std::string>& inputs,
                 const std::vector<std::string>& outputs, const std::string& attributes = "") {
    std::string node;
    for (const std::string& input : inputs) {
        node += Text(1, input);
    }
    for (const std::string& output : outputs) {
        node += Text(2, output);
    }
    return node + Text(4, type) + attributes;
}
std::string Numbers(const std::string& name, const Dims& numbers) {
    std::string attribute = Text(1, name) + Number(20, 7);
    for (const int64_t number : numbers) {
        attribute += Number(8, static_cast<uint64_t>(number));
    }
    return Text(5, attribute);
}
std::string Tensor(const std::string& name, const Dims& dims, const std::string& content) {
    std::string tensor;
    for (const int64_t dim : dims) {
        tensor += Number(1, static_cast<uint64_t>(dim));
    }
    return tensor + Number(2, kOnnxFloat) + Text(8, name) + content;
}
std::string Raw(size_t floats) {
    return Text(9, std::string(floats * sizeof(float), 0));
}

std::string Graph(const std::string& content) {
    return Number(1, 7) + Text(7, content) + Text(8, Text(1, "") + Number(2, 12));
}
const std::string kX = Text(11, Value("x", {2, 3}));
const std::string kY = Text(12, Value("y", {2, 3}));
const std::string kRelu = Text(1, Node("Relu", {"x"}, {"y"}));
// Two values are added, of which the second stands in the file.
std::string AddModel(const std::string& tensor) {
    return Graph(kX + kY + Text(1, Node("Add", {"x", "w"}, {"y"})) + Text(5, tensor));
}
std::string ConvModel(const std::string& attributes, const Dims& weights = {1, 1, 3, 3}) {
    return Graph(Text(11, Value("x", {1, 1, 8, 8})) + Text(11, Value("w", weights)) +
                 Text(12, Value("y", {1, 1, -1, -1})) +
                 Text(1, Node("Conv", {"x", "w"}, {"y"}, attributes)));
}

ByteRange Range(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

TEST(OnnxModel, GivesTheGraphsOwnInputsAndOutputsInOrder) {
    OnnxModel model;
    std::string reason;
    // An initializer may also stand among the inputs, as its default.
    ASSERT_TRUE(ReadOnnxModel(
            Range(Graph(Text(12, Value("z", {})) + kRelu + Text(11, Value("w", {2})) +
                        Text(5, Tensor("w", {2}, Raw(2))) + Text(11, Value("b", {4, -1}, 2)) + kX +
                        kY + Text(1, Node("Add", {"y", "w"}, {"z"})))),
            model, reason))
            << reason;
    ASSERT_EQ(2u, model.inputs.size());
    EXPECT_EQ("b", model.inputs[0].name);
    EXPECT_EQ((Dims{4, -1}), model.inputs[0].dims);
    EXPECT_EQ(kOnnxUint8, model.inputs[0].elementType);
    EXPECT_EQ("x", model.inputs[1].name);
    EXPECT_EQ((Dims{2, 3}), model.inputs[1].dims);
    ASSERT_EQ(2u, model.outputs.size());
    EXPECT_EQ("z", model.outputs[0].name);
    EXPECT_TRUE(model.outputs[0].hasShape);
    EXPECT_EQ("y", model.outputs[1].name);
}

TEST(OnnxModel, TensorsMayStandInAnyOfTheirFields) {
    const std::string floats(24, 0);
    std::string unpacked;
    for (int i = 0; i < 6; ++i) {
        unpacked += Varint(4 << 3 | 5) + std::string(4, 0);
    }
    OnnxModel model;
    std::string reason;
    for (const std::string& tensor :
         {Tensor("w", {2, 3}, Text(9, floats)), Tensor("w", {2, 3}, Text(4, floats)),
          Tensor("w", {2, 3}, unpacked),
          Text(1, Varint(2) + Varint(3)) + Number(2, 1) + Text(8, "w") + Text(9, floats),
          Number(1, 3) + Number(2, 7) + Text(8, "w") + Text(7, Varint(1) + Varint(300) + Varint(0)),
          Number(1, 0) + Number(2, 1) + Text(8, "w")}) {
        EXPECT_TRUE(ReadOnnxModel(Range(AddModel(tensor)), model, reason)) << reason;
    }
}

TEST(OnnxModel, RefusesWithTheReason) {
    const std::string whole = Graph(kX + kY + kRelu);
    const struct {
        const char* what;
        std::string file;
        const char* reason;
    } cases[] = {
            {"empty", "", "not an ONNX model"},
            {"no graph", Number(1, 7), "not an ONNX model"},
            {"cut off", whole.substr(0, whole.size() - 1), "not an ONNX model"},
            {"two graphs", whole + Text(7, ""), "more than one graph"},
            {"a number for a graph", Number(7, 1), "more than one graph"},
            {"field 0", std::string("\0\0", 2) + whole, "not an ONNX model"},
            {"a group", Varint(9 << 3 | 3) + Varint(9 << 3 | 4) + whole, "not an ONNX model"},
            {"an endless number", std::string(11, '\xff') + whole, "not an ONNX model"},
            {"a length beyond the end", whole + Varint(9 << 3 | 2) + Varint(1), "not an ONNX"},
            {"a length near 2^64", whole + Varint(9 << 3 | 2) + Varint(UINT64_MAX), "not an ONNX"},
            {"a broken graph", Graph(kX + kY + kRelu + "\x0a"), "graph is malformed"},
            {"a node that is a number", Graph(kX + kY + Number(1, 1)), "wrong type"},
            {"an input without a shape",
             Graph(Text(11, Text(1, "x") + Text(2, Text(1, Number(1, 1)))) + kY + kRelu),
             "no shape"},
            {"an input without a name", Graph(Text(11, Value("", {1})) + kX + kY + kRelu), "name"},
            {"an input twice", Graph(kX + kX + kY + kRelu), "input x"},
            {"a size below 0",
             Graph(Text(11,
                        Text(1, "x") +
                                Text(2, Text(1, Number(1, 1) + Text(2, Text(1, Number(1, -1)))))) +
                   kY + kRelu),
             "shape of x"},
            {"too many dimensions", Graph(Text(11, Value("x", Dims(33, 1))) + kY + kRelu),
             "shape of x"},
            {"an output from nowhere", Graph(kX + kY), "no node makes output y"},
            {"an output that is an input", Graph(kX + Text(12, Value("x", {2, 3}))), "output x"},
            {"a node before what it uses",
             Graph(kX + kY + Text(1, Node("Relu", {"z"}, {"y"})) +
                   Text(1, Node("Relu", {"x"}, {"z"}))),
             "uses z"},
            {"a node without its inputs", Graph(kX + kY + Text(1, Node("Add", {"x"}, {"y"}))),
             "too few"},
            {"a node without an output", Graph(kX + kY + kRelu + Text(1, Node("Relu", {"x"}, {}))),
             "node is malformed"},
            {"a value made twice", Graph(kX + kY + kRelu + kRelu), "made twice"},
            {"outputs that an operator has not",
             Graph(kX + kY + Text(1, Node("Relu", {"x"}, {"y", "z"}))), "several outputs"},
            {"a constant without a value", Graph(kY + Text(1, Node("Constant", {}, {"y"}))),
             "Constant"},
            {"a graph within a node",
             Graph(kX + kY + Text(1, Node("Relu", {"x"}, {"y"}, Text(5, Text(6, ""))))),
             "graphs of their own"},
            {"a tensor too short", AddModel(Tensor("w", {2, 3}, Raw(5))), "tensor w"},
            {"a tensor too long", AddModel(Tensor("w", {2, 3}, Raw(7))), "tensor w"},
            {"a tensor of nothing", AddModel(Tensor("w", {2, 3}, "")), "tensor w"},
            {"a tensor that stands elsewhere", AddModel(Tensor("w", {0}, Text(13, ""))), "tensor "},
            {"sizes whose product overflows",
             AddModel(Tensor("w", {1 << 30, 1 << 30, 1 << 30, 1 << 30, 1 << 8}, "")), "tensor "},
            {"a size below 0 in a tensor", AddModel(Tensor("w", {-1}, Raw(1))), "tensor "},
            {"one field that fits and one that does not",
             AddModel(Tensor("w", {2, 3}, Raw(6) + Text(4, std::string(20, 0)))), "tensor w"},
            {"a stride of 0", ConvModel(Numbers("strides", {1, 0})), "Conv"},
            {"a window below 0", ConvModel(Numbers("kernel_shape", {3, -3})), "Conv"},
            {"padding without bounds", ConvModel(Numbers("pads", {0, 0, 0, INT64_MAX})), "Conv"},
            {"no groups", ConvModel(Numbers("group", {0})), "Conv"},
            {"a window of another rank", ConvModel(Numbers("kernel_shape", {3, 3, 3})), "Conv"},
            {"weights of another rank", ConvModel("", {1, 1, 3}), "Conv"},
            {"an attribute twice",
             ConvModel(Numbers("strides", {1, 1}) + Numbers("strides", {1, 1})),
             "node is malformed"},
    };
    for (const auto& testCase : cases) {
        OnnxModel model;
        std::string reason;
        EXPECT_FALSE(ReadOnnxModel(Range(testCase.file), model, reason)) << testCase.what;
        EXPECT_NE(std::string::npos, reason.find(testCase.reason))
                << testCase.what << ": " << reason;
    }
    OnnxModel model;
    std::string reason;
    EXPECT_TRUE(ReadOnnxModel(Range(whole), model, reason)) << reason;
    EXPECT_TRUE(ReadOnnxModel(Range(ConvModel(Numbers("strides", {2, 2}))), model, reason))
            << reason;
}

// Random damage; the sanitizers say whether the reader stays within the file.
TEST(OnnxModel, SurvivesAnyBytes) {
    for (const char* name :
         {"test_split_equal_parts_1d", "test_hardswish_expanded", "test_averagepool_2d_pads",
          "test_layer_normalization_2d_axis0_expanded"}) {
        const std::vector<uint8_t> whole =
                test::ReadFile(std::string(test::kOnnxCases) + "/" + name + "/model.onnx");
        ASSERT_FALSE(whole.empty());
        std::mt19937 random(1);
        for (int round = 0; round < 5000; ++round) {
            std::vector<uint8_t> file = whole;
            file.resize(1 + random() % file.size());
            for (unsigned damage = random() % 4; damage > 0; --damage) {
                file[random() % file.size()] = static_cast<uint8_t>(random());
            }
            // Its own allocation, so that the byte after it is out of bounds.
            const std::vector<uint8_t> exact(file);
            OnnxModel model;
            std::string reason;
            const bool taken = ReadOnnxModel({exact.data(), exact.size()}, model, reason);
            EXPECT_EQ(taken, reason.empty());
        }
    }
}

TEST(Engine, DimensionsLeftOpenAreOne) {
    const std::string file =
            Graph(Text(11, Value("x", {-1, 3, -1})) + kRelu + Text(12, Value("y", {-1, 3, -1})));
    Engine engine(Range(file));
    EXPECT_EQ((std::vector<int>{1, 3, 1}), engine.inputs()[0].dims);
    EXPECT_EQ(3u, engine.outputs()[0].elements);
    std::vector<float> in = {-1, 2, -3};
    std::vector<float> out = {9, 9, 9};
    engine.Run({{reinterpret_cast<uint8_t*>(in.data()), 12, 1}},
               {{reinterpret_cast<uint8_t*>(out.data()), 12, 1}}, {});
    EXPECT_EQ((std::vector<float>{0, 2, 0}), out);
}

TEST(Engine, RefusesWhatNoTensorCouldHold) {
    for (const Dims& dims : {Dims{0}, Dims{1 << 14, 1 << 14}, Dims{INT64_MAX, INT64_MAX}}) {
        const std::string file =
                Graph(Text(11, Value("x", dims)) + kRelu + Text(12, Value("y", dims)));
        EXPECT_THROW(Engine{Range(file)}, std::runtime_error);
    }
    EXPECT_THROW(Engine(Range(Graph(kX + kRelu))), std::runtime_error) << "no output";
}

}  // namespace
}  // namespace orva::reference
