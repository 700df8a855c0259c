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

AITensorDescription Describe(const Parameters& parameters) {
    AITensorDescription description;
    for (const auto& [name, value] : parameters) {
        description.add_para(name, value);
    }
    return description;
}

TEST(TensorParameters, ReplaceTheFieldsTheyName) {
    const Parameters before = {{"data_type", "1"}, {"number", "2"}, {"channel", "3"},
                               {"height", "4"},    {"width", "5"},  {"size", "600"}};
    const struct {
        Parameters parameters;
        bool result;
        Fields after;
    } cases[] = {
            {{}, true, kBefore},
            {{{"width", "224"}}, true, {1, 2, 3, 4, 224, 600}},
            {{{"Width", "1"}, {"widths", "x"}, {"", "x"}}, true, kBefore},
            {{{"size", "10"}, {"size", "20"}}, true, {1, 2, 3, 4, 5, 20}},
            {{{"size", "4294967295"}}, true, {1, 2, 3, 4, 5, -1}},
            {{{"number", "9"}, {"height", "abc"}}, false, kBefore},
            {{{"size", "x"}, {"size", "20"}}, false, kBefore},
            {{{"channel", "2147483648"}}, false, kBefore},
            {{{"channel", "-2147483648"}}, true, {1, 2, INT32_MIN, 4, 5, 600}},
            {{{"size", "4294967296"}}, false, kBefore},
            // A value is one whole number.
            {{{"size", "\n\t5"}, {"number", "+6"}}, true, {1, 6, 3, 4, 5, 5}},
            {{{"data_type", ""}}, false, kBefore},
            {{{"data_type", "5\n"}}, false, kBefore},
            {{{"data_type", "0x10"}}, false, kBefore},
            {{{"size", "1.0"}}, false, kBefore},
            {{{"size", " "}}, false, kBefore},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.parameters));
        AINeuralNetworkBufferHIDL tensor;
        ASSERT_TRUE(InitFromDescription(tensor, Describe(before)));
        EXPECT_EQ(each.result, InitFromDescription(tensor, Describe(each.parameters)));
        EXPECT_EQ(each.after,
                  (Fields{tensor.GetData_type(), tensor.GetNumber(), tensor.GetChannel(),
                          tensor.GetHeight(), tensor.GetWidth(), tensor.GetSize()}));
        EXPECT_EQ(nullptr, tensor.GetBuffer());
    }
}

}  // namespace
}  // namespace orva::hidl
