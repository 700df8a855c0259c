/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/TensorShape.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace orva::client {
namespace {

TEST(TensorShape, ParsesShapes) {
    EXPECT_EQ(parseDims("7"), (std::vector<int64_t>{7}));
    EXPECT_EQ(parseDims("1x128x128x3"), (std::vector<int64_t>{1, 128, 128, 3}));
    for (const char* text :
         {"", "x", "1x", "x1", "1xx2", "0", "1x0", "-1", "1x-2", "1X2", "1x 2", "a", "1.5",
          "99999999999", "70000x70000", "65536x65536x65536x65536x65536"}) {
        EXPECT_THROW(parseDims(text), std::invalid_argument) << "'" << text << "'";
    }
}

TEST(TensorShape, PutsDimensionsWhereTheyFit) {
    const struct {
        std::vector<int64_t> dims;
        TensorAttributes expected;  // Data type, height, width, number, channel.
        PictureLayout layout;
    } cases[] = {
            {{1, 128, 64, 3}, {1, 128, 64, 1, 3}, PictureLayout::kChannelsLast},
            {{1, 3, 128, 64}, {1, 128, 64, 1, 3}, PictureLayout::kChannelsFirst},
            {{1, 1, 28, 28}, {1, 28, 28, 1, 1}, PictureLayout::kChannelsFirst},
            {{2, 16, 8, 5}, {1, 8, 5, 2, 16}, PictureLayout::kNone},
            {{1, 512, 16}, {1, 16, 1, 1, 512}, PictureLayout::kNone},
            {{1001}, {1, 1, 1, 1001, 1}, PictureLayout::kNone},
            {{}, {1, 1, 1, 1, 1}, PictureLayout::kNone},
            {{2, 3, 4, 5, 6}, {1, 4, 30, 2, 3}, PictureLayout::kNone},
    };
    for (const auto& c : cases) {
        const TensorShape shape = {"t", ElementType::kFloat32, c.dims};
        SCOPED_TRACE(shape.text());
        const TensorAttributes attributes = shape.attributes();
        EXPECT_EQ(attributes.dataType, c.expected.dataType);
        EXPECT_EQ(attributes.height, c.expected.height);
        EXPECT_EQ(attributes.width, c.expected.width);
        EXPECT_EQ(attributes.number, c.expected.number);
        EXPECT_EQ(attributes.channel, c.expected.channel);
        EXPECT_EQ(pictureLayout(c.dims), c.layout);
    }
}

}  // namespace
}  // namespace orva::client
