/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/MadeUp.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace orva::client {
namespace {

TEST(MadeUp, IsOfUseToAModelWhateverItTakes) {
    for (int number = 0; number <= static_cast<int>(ElementType::kBool); ++number) {
        const auto type = static_cast<ElementType>(number);
        const bool isByte = type == ElementType::kUint8 || type == ElementType::kInt8;
        const bool isFloat = std::string(nameOf(type)).find("float") != std::string::npos;
        const TensorShape shape = {"", type, {10, 100}};
        // What lies behind the tensor stays as it is.
        std::vector<uint8_t> bytes(shape.bytes() + 1, 0xee), again = bytes;
        makeUp(shape, bytes.data());
        makeUp(shape, again.data());
        EXPECT_EQ(bytes, again) << nameOf(type);
        EXPECT_EQ(bytes.back(), 0xee) << nameOf(type);
        std::set<long double> values;
        for (size_t i = 0; i < shape.elements(); ++i) {
            values.insert(valueAt(type, &bytes[i * sizeOf(type)]));
        }
        EXPECT_EQ(isByte || (*values.begin() >= 0 && *values.rbegin() <= 1), true) << nameOf(type);
        EXPECT_GE(values.size(), isFloat ? 900U : isByte ? 100U : 2U) << nameOf(type);
    }
}

}  // namespace
}  // namespace orva::client
