/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/MadeUp.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace orva::client {
namespace {

TEST(MadeUp, IsOfUseToAModelWhateverItTakes) {
    const struct {
        ElementType type;
        double least;
        double greatest;
        size_t different;  // at least
    } cases[] = {
            {ElementType::kUint8, 0, 255, 100}, {ElementType::kInt8, -128, 127, 100},
            {ElementType::kFloat32, 0, 1, 900}, {ElementType::kFloat64, 0, 1, 900},
            {ElementType::kFloat16, 0, 1, 900}, {ElementType::kBfloat16, 0, 1, 900},
            {ElementType::kBool, 0, 1, 2},      {ElementType::kInt16, 0, 1, 2},
            {ElementType::kInt32, 0, 1, 2},     {ElementType::kInt64, 0, 1, 2},
            {ElementType::kUint16, 0, 1, 2},    {ElementType::kUint32, 0, 1, 2},
            {ElementType::kUint64, 0, 1, 2},
    };
    for (const auto& c : cases) {
        const TensorShape shape = {"", c.type, {10, 100}};
        // What lies behind the tensor stays as it is.
        std::vector<uint8_t> bytes(shape.bytes() + 1, 0xee), again = bytes;
        makeUp(shape, bytes.data());
        makeUp(shape, again.data());
        EXPECT_EQ(bytes, again) << nameOf(c.type);
        EXPECT_EQ(bytes.back(), 0xee) << nameOf(c.type);
        std::set<double> values;
        for (size_t i = 0; i < shape.elements(); ++i) {
            values.insert(valueAt(c.type, &bytes[i * sizeOf(c.type)]));
        }
        EXPECT_GE(*values.begin(), c.least) << nameOf(c.type);
        EXPECT_LE(*values.rbegin(), c.greatest) << nameOf(c.type);
        EXPECT_GE(values.size(), c.different) << nameOf(c.type);
    }
}

}  // namespace
}  // namespace orva::client
