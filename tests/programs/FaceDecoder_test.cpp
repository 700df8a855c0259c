/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/faces/FaceDecoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace orva::client {
namespace {

constexpr float kPixel = 1.0F / FaceDecoder::kInputEdge;

float probability(float score) {
    return 1 / (1 + std::exp(-score));
}

// What an anchor finds: a square, whose centre lies that many pixels from the anchor.
struct Find {
    FaceDecoder::Grid grid;
    size_t anchor;
    float score;
    float x = 0;
    float y = 0;
    float edge = 40;
};

std::vector<Face> decode(const std::vector<Find>& finds) {
    FaceDecoder decoder(0.75F);
    for (const Find& find : finds) {
        std::vector<float> scores(find.grid.anchors(), -50);
        std::vector<float> boxes(find.grid.anchors() * FaceDecoder::kNumbersPerAnchor);
        scores[find.anchor] = find.score;
        float* const numbers = &boxes[find.anchor * FaceDecoder::kNumbersPerAnchor];
        // Behind the box its key points, which here are 0, 1, 2…
        for (size_t i = 0; i < 2 * Face::kKeyPoints; ++i) {
            numbers[4 + i] = static_cast<float>(i);
        }
        numbers[0] = find.x;
        numbers[1] = find.y;
        numbers[2] = numbers[3] = find.edge;
        decoder.add(find.grid, scores.data(), boxes.data());
    }
    return decoder.faces();
}

constexpr FaceDecoder::Grid kFine = FaceDecoder::kFine;
constexpr FaceDecoder::Grid kCoarse = FaceDecoder::kCoarse;

TEST(FaceDecoder, FindsTheAnchorOfEachNumber) {
    // Where the anchors are, in pixels.
    const std::tuple<FaceDecoder::Grid, size_t, float, float> cases[] = {
            {kFine, 1, 4, 4},   {kFine, 32, 4, 12},  {kFine, 511, 124, 124},
            {kCoarse, 5, 8, 8}, {kCoarse, 6, 24, 8}, {kCoarse, 48, 8, 24}};
    for (const auto& [grid, anchor, x, y] : cases) {
        const std::vector<Face> faces = decode({{grid, anchor, 5, 3, -2, 20}});
        ASSERT_EQ(faces.size(), 1U) << anchor;
        EXPECT_NEAR(faces[0].left, (x + 3 - 10) * kPixel, 1e-6) << anchor;
        EXPECT_NEAR(faces[0].top, (y - 2 - 10) * kPixel, 1e-6) << anchor;
        EXPECT_NEAR(faces[0].width, 20 * kPixel, 1e-6);
        EXPECT_NEAR(faces[0].keyPoints[5].y, (y + 11) * kPixel, 1e-6);
    }
}

TEST(FaceDecoder, TakesScoresFromTheThresholdOn) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [score, faces] :
         {std::pair(1.11F, 1U), {1.08F, 0U}, {1e30F, 1U}, {-1e30F, 0U}, {nan, 0U}}) {
        EXPECT_EQ(decode({{kFine, 100, score}}).size(), faces) << score;
    }
}

TEST(FaceDecoder, MergesFindsOfOneFaceAndKeepsOthersApartBestFirst) {
    // At 68, 68 and at 72, 72: the better one has more say in where the face is.
    const std::vector<Face> merged = decode({{kFine, 2 * (8 * 16 + 8), 2}, {kCoarse, 6 * 36, 4}});
    ASSERT_EQ(merged.size(), 1U);
    const float worse = probability(2), better = probability(4);
    EXPECT_NEAR(merged[0].score, better, 1e-6);
    EXPECT_NEAR(merged[0].left, ((68 * worse + 72 * better) / (worse + better) - 20) * kPixel,
                1e-5);
    // Side by side.
    for (const auto& [distance, count] : {std::pair(40.F, 2U), {24.F, 2U}, {16.F, 1U}}) {
        const std::vector<Face> faces = decode({{kFine, 264, 2}, {kFine, 265, 3, distance}});
        ASSERT_EQ(faces.size(), count) << distance;
        EXPECT_NEAR(faces.front().score, probability(3), 1e-6);
    }
}

}  // namespace
}  // namespace orva::client
