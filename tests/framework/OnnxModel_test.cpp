/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <gtest/gtest.h>

#include "OnnxWriter.h"

namespace orva::reference {
namespace {

using namespace test::onnx;

const std::string kX = Input("x", {2, 3});
const std::string kY = Output("y", {2, 3});
const std::string kRelu = Node("Relu", {"x"}, {"y"});

// Two values are added, of which the second stands in the file.
std::string AddModel(const std::string& tensor) {
    return Model(kX + kY + Node("Add", {"x", "w"}, {"y"}) + Initializer(tensor));
}
// The same of six numbers, however many their dimensions make.
std::string Sized(const Dims& dims) {
    return AddModel(Tensor("w", dims, Raw(std::vector<float>(6))));
}
// A graph within a node's, within that of another, and so on.
std::string Within(std::string graph, int depth = 1) {
    for (; depth > 0; --depth) {
        graph = Node("If", {"c"}, {"y"}, GraphAttribute("then_branch", graph));
    }
    return Model(kX + kY + graph);
}
// Function 0 calls function 1 `width` times, and so on; the last one calls `last`.
std::string Calls(int functions, int width, const std::string& last) {
    std::string all;
    for (int i = 0; i < functions; ++i) {
        const std::string callee =
                i + 1 == functions ? last
                                   : Node("f" + std::to_string(i + 1), {"x"}, {"y"}, "", "own");
        all += Function("f" + std::to_string(i),
                        std::vector<std::string>(static_cast<size_t>(width), callee));
    }
    return Model(kX + kY + Node("f0", {"x"}, {"y"}, "", "own"), all);
}

std::string Attribute(const std::string& name, int64_t number) {
    return Text(5, Text(1, name) + Number(20, 2) + Number(3, static_cast<uint64_t>(number)));
}

const std::vector<int64_t> kNear = {1}, kFar = {INT64_MIN};
std::string Triangle(const std::string& diagonal) {
    return Model(kX + kY + diagonal + Node("Trilu", {"x", "k"}, {"y"}));
}

TEST(OnnxModel, RefusesWithTheReason) {
    const std::string whole = Model(kX + kY + kRelu);
    const std::string six = Raw(std::vector<float>(6));
    const std::string here = Tensor("w", {6}, six);
    const std::string away = Tensor("w", {6}, Number(14, 1));
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
            {"a broken graph", Model(kX + kY + kRelu + "\x0a"), "graph is malformed"},
            {"a node that is a number", Model(kX + kY + Number(1, 1)), "wrong type"},
            {"too many dimensions", Model(Input("x", Dims(33, 1)) + kY), "shape of x"},
            {"two shapes", Model(Text(11, Text(2, Text(1, Text(2, "") + Text(2, ""))))),
             "two shapes"},
            {"elements that are not there", Sized({1 << 30}), "tensor w"},
            {"sizes whose product overflows", Sized(Dims(5, 1 << 30)), "tensor w"},
            {"a size below 0 in a tensor", Sized({-1}), "tensor w"},
            {"a tensor in another file",
             AddModel(Tensor("w", {6}, Text(13, Text(1, "location") + Text(2, "/etc/passwd")))),
             "outside the file"},
            {"a tensor elsewhere, without a place", AddModel(away), "outside the file"},
            {"such a tensor within a graph in a node", Within(Initializer(away)),
             "outside the file"},
            {"such a tensor as a constant of a function",
             Model(kX + kY + kRelu,
                   Function("f", {Node("Constant", {}, {"y"}, TensorAttribute("value", away))})),
             "outside the file"},
            {"a tensor of which there are two",
             Model(kY + Node("Constant", {}, {"y"}, Text(5, Text(5, here) + Text(5, here)))),
             "two tensors"},
            {"a sparse tensor", Model(kX + kY + kRelu + Text(15, "")), "sparse"},
            {"graphs in graphs without end", Within(kRelu, 40), "nested too deeply"},
            {"a function that calls itself", Calls(1, 1, Node("f0", {"x"}, {"y"}, "", "own")),
             "calls itself"},
            {"functions that call each other", Calls(3, 1, Node("f1", {"x"}, {"y"}, "", "own")),
             "calls itself"},
            {"functions that multiply", Calls(20, 3, kRelu), "too large"},
            {"functions in functions without end", Calls(50, 1, kRelu), "nested too deeply"},
            {"nodes without end", Model(Many(Text(1, ""), 70'000)), "too large"},
            {"inputs without end", Model(Many(Text(11, ""), 70'000)), "too large"},
            {"outputs without end", Model(Many(Text(12, ""), 2'000)), "more than 1024"},
            {"an index that the engine does not look at",
             Model(kX + kY + Node("GatherND", {"x"}, {"y"}, Attribute("batch_dims", -2))), "-2"},
            {"one that it would cut off",
             Model(kX + kY +
                   Node("LayerNormalization", {"x"}, {"y"}, Attribute("axis", int64_t{1} << 31))),
             "axis 2147483648"},
            {"a diagonal too far off", Triangle(Initializer(Tensor("k", {}, Raw(kFar), kInt64))),
             "Trilu"},
            {"two, of which one is",
             Triangle(Initializer(Tensor("k", {}, Raw(kNear), kInt64)) +
                      Initializer(Tensor("k", {}, Number(7, 1ULL << 40), kInt64))),
             "Trilu"},
            {"the same as a constant",
             Triangle(Node("Constant", {}, {"k"}, Attribute("value_int", kFar[0]))), "Trilu"},
            {"one that is computed", Triangle(Node("Abs", {"x"}, {"k"})), "Trilu"},
            {"names without end", Model(kX + kY + Text(1, Many(Text(1, ""), 70'000))), "too large"},
    };
    for (const auto& testCase : cases) {
        OnnxModel model;
        std::string reason;
        EXPECT_FALSE(ReadOnnxModel(Range(testCase.file), model, reason)) << testCase.what;
        EXPECT_NE(std::string::npos, reason.find(testCase.reason))
                << testCase.what << ": " << reason;
    }
    for (const std::string& file :
         {whole, Sized({6}), Within(kRelu, 30), Calls(30, 1, kRelu), Calls(5, 3, kRelu)}) {
        OnnxModel model;
        std::string reason;
        EXPECT_TRUE(ReadOnnxModel(Range(file), model, reason)) << reason;
    }
}

}  // namespace
}  // namespace orva::reference
