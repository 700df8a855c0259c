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
         {"", "1x", "1xx2", "1x0", "-1", "1x 2", "1.5", "99999999999", "70000x70000"}) {
        EXPECT_THROW(parseDims(text), std::invalid_argument) << "'" << text << "'";
    }
}

TEST(TensorShape, PutsDimensionsWhereTheyFit) {
    const struct {
        std::vector<int64_t> dims;
        std::vector<int32_t> expected;  // Height, width, number, channel.
        PictureLayout layout;
    } cases[] = {
            {{1, 128, 64, 3}, {128, 64, 1, 3}, PictureLayout::kChannelsLast},
            {{1, 3, 128, 64}, {128, 64, 1, 3}, PictureLayout::kChannelsFirst},
            {{2, 16, 8, 5}, {8, 5, 2, 16}, PictureLayout::kNone},
            {{1, 512, 16}, {16, 1, 1, 512}, PictureLayout::kNone},
            {{}, {1, 1, 1, 1}, PictureLayout::kNone},
            {{2, 3, 4, 5, 6}, {4, 30, 2, 3}, PictureLayout::kNone},
    };
    for (const auto& c : cases) {
        const TensorShape shape = {"t", ElementType::kFloat32, c.dims};
        const TensorAttributes found = shape.attributes();
        EXPECT_EQ((std::vector<int32_t>{found.height, found.width, found.number, found.channel}),
                  c.expected)
                << shape.text();
        EXPECT_EQ(pictureLayout(c.dims), c.layout) << shape.text();
    }
}

}  // namespace
}  // namespace orva::client
