/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/TensorParameters.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {
namespace {

using Parameters = std::vector<std::pair<std::string, std::string>>;
// Data type, number, channel, height, width, size.
using Fields = std::array<int, 6>;

constexpr Fields kBefore = {1, 2, 3, 4, 5, 600};

Fields FieldsOf(const AINeuralNetworkBuffer& tensor) {
    return {tensor.GetData_type(), tensor.GetNumber(), tensor.GetChannel(),
            tensor.GetHeight(),    tensor.GetWidth(),  tensor.GetSize()};
}

TEST(TensorParameters, ReplaceTheFieldsTheyName) {
    const Parameters all = {{"size", "7"},     {"data_type", "8"}, {"number", "9"},
                            {"channel", "10"}, {"height", "-11"},  {"width", "12"}};
    const struct {
        const char* what;
        Parameters parameters;
        bool result;
        Fields after;
    } cases[] = {
            {"none", {}, true, kBefore},
            {"one", {{"width", "224"}}, true, {1, 2, 3, 4, 224, 600}},
            {"all", all, true, {8, 9, 10, -11, 12, 7}},
            {"other names", {{"Width", "1"}, {"widths", "x"}, {"", "x"}}, true, kBefore},
            {"twice", {{"size", "10"}, {"size", "20"}}, true, {1, 2, 3, 4, 5, 20}},
            {"size beyond 31 bits", {{"size", "4294967295"}}, true, {1, 2, 3, 4, 5, -1}},
            {"second bad", {{"number", "9"}, {"height", "abc"}}, false, kBefore},
            {"first of two bad", {{"size", "x"}, {"size", "20"}}, false, kBefore},
            {"signed overflow", {{"channel", "2147483648"}}, false, kBefore},
            {"unsigned overflow", {{"size", "4294967296"}}, false, kBefore},
            {"empty", {{"data_type", ""}}, false, kBefore},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        char buffer[1];
        AINeuralNetworkBufferHIDL tensor;
        tensor.SetData_type(kBefore[0]);
        tensor.SetNumber(kBefore[1]);
        tensor.SetChannel(kBefore[2]);
        tensor.SetHeight(kBefore[3]);
        tensor.SetWidth(kBefore[4]);
        tensor.SetBuffer(buffer, kBefore[5], false);
        AITensorDescription description;
        for (const auto& [name, value] : each.parameters) {
            description.add_para(name, value);
        }
        EXPECT_EQ(each.result, InitFromDescription(tensor, description));
        EXPECT_EQ(each.after, FieldsOf(tensor));
        EXPECT_EQ(buffer, tensor.GetBuffer());
    }
}

TEST(TensorParameters, AValueIsOneWholeNumber) {
    const struct {
        const char* text;
        bool isInt;
        bool isUnsigned;
    } cases[] = {
            {"\n\t5", true, true},       {"+5", true, true},          {"5\n", false, false},
            {"0x10", false, false},      {"1.0", false, false},       {" ", false, false},
            {"2147483647", true, true},  {"2147483648", false, true}, {"-2147483649", false, true},
            {"4294967295", false, true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        int value = 0;
        unsigned int magnitude = 0;
        EXPECT_EQ(each.isInt, ParseValue(each.text, value));
        EXPECT_EQ(each.isUnsigned, ParseValue(each.text, magnitude));
    }
}

}  // namespace
}  // namespace orva::hidl
