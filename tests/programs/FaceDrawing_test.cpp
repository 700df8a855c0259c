/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/faces/FaceDrawing.h"

#include <gtest/gtest.h>

#include <limits>

namespace orva::client {
namespace {

TEST(FaceDrawing, FramesTheFaceAndMarksItsPoints) {
    Pixels picture(200, 200);
    Face face = {0.5F, 50, 60, 100, 80, {}};
    face.keyPoints.fill({100, 100});
    drawFace(&picture, face);
    for (const auto& [x, y] : {std::pair(50, 100), {150, 100}, {100, 60}, {100, 140}, {50, 60}}) {
        EXPECT_EQ(picture.at(x, y)[1], 220) << x << ", " << y << " is on the frame";
    }
    EXPECT_EQ(picture.at(100, 100)[0], 255) << "a key point";
    for (const auto& [x, y] : {std::pair(100, 120), {20, 100}, {180, 100}, {100, 170}}) {
        EXPECT_EQ(picture.at(x, y)[1], 0) << x << ", " << y << " is as it was";
    }
}

// A detector says what it likes.
TEST(FaceDrawing, StaysInThePicture) {
    constexpr float kHuge = std::numeric_limits<float>::max();
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    for (const float wild : {kHuge, -kHuge, kNone, -5.F, 9.F}) {
        Pixels picture(10, 10);
        Face face = {wild, wild, wild, wild, wild, {}};
        face.keyPoints.fill({wild, wild});
        drawFace(&picture, face);
        EXPECT_EQ(picture.bytes.size(), 300U);
    }
}

}  // namespace
}  // namespace orva::client
