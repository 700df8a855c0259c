/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Picture.h"

#include <gtest/gtest.h>

#include <numeric>

namespace orva::client {
namespace {

// Each of the three channels holds these shades, the second and the third a little brighter.
Pixels picture(int width, int height, const std::vector<int>& shades) {
    Pixels pixels(width, height);
    for (size_t i = 0; i < pixels.bytes.size(); ++i) {
        pixels.bytes[i] = static_cast<uint8_t>(shades[i / 3] + static_cast<int>(i % 3));
    }
    return pixels;
}

TEST(Picture, IsStretchedByAreaWhereItShrinksAndLinearlyWhereItGrows) {
    const struct {
        const char* what;
        Pixels from;
        Pixels to;
    } cases[] = {
            {"as it is", picture(2, 2, {10, 20, 30, 40}), picture(2, 2, {10, 20, 30, 40})},
            {"whole pixels", picture(2, 2, {10, 20, 30, 40}), picture(1, 1, {25})},
            {"parts of pixels", picture(3, 1, {30, 60, 120}), picture(2, 1, {40, 100})},
            {"rows alone", picture(1, 4, {10, 30, 50, 90}), picture(1, 2, {20, 70})},
            {"twice as wide", picture(2, 1, {0, 100}), picture(4, 1, {0, 25, 75, 100})},
            {"of one pixel", picture(1, 1, {7}), picture(3, 2, {7, 7, 7, 7, 7, 7})},
            {"wider and lower", picture(2, 2, {0, 100, 20, 120}), picture(4, 1, {10, 35, 85, 110})},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(resized(c.from, c.to.width, c.to.height).bytes, c.to.bytes) << c.what;
    }
}

TEST(Picture, IsLaidOutAsModelsTakeIt) {
    const Pixels two = picture(2, 1, {10, 50});
    EXPECT_EQ(stretched(two, 2, 1, false), (std::vector<uint8_t>{10, 11, 12, 50, 51, 52}));
    EXPECT_EQ(stretched(two, 2, 1, true), (std::vector<uint8_t>{10, 50, 11, 51, 12, 52}));
    Pixels colours(3, 1);
    colours.bytes = {255, 0, 0, 0, 255, 0, 0, 0, 255};
    EXPECT_EQ(grey(colours, 3, 1), (std::vector<uint8_t>{76, 150, 29}));

    Placement placement = {};
    const std::vector<uint8_t> square =
            fitted(picture(4, 2, {9, 9, 9, 9, 9, 9, 9, 9}), 8, &placement);
    EXPECT_EQ(placement.scale, 2);
    EXPECT_EQ(placement.left, 0);
    EXPECT_EQ(placement.top, 2);
    EXPECT_EQ(square.size(), 8U * 8 * 3);
    EXPECT_EQ(std::accumulate(square.begin(), square.end(), 0), 8 * 4 * (9 + 10 + 11));
    EXPECT_EQ(square[size_t{2} * 8 * 3], 9) << "black above, the picture from the third row on";
    EXPECT_EQ(square[size_t{2} * 8 * 3 - 1], 0);
}

}  // namespace
}  // namespace orva::client
