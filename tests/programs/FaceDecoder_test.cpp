/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/faces/FaceDecoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace orva::client {
namespace {

constexpr float kPixel = 1.0F / FaceDecoder::kInputEdge;

// One grid's outputs, without a face until one is put in.
struct GridOutput {
    explicit GridOutput(const FaceDecoder::Grid& which)
            : grid(which),
              scores(grid.anchors(), -50),
              boxes(grid.anchors() * FaceDecoder::kNumbersPerAnchor, 0) {}

    // A square of `edge` pixels, whose centre lies that far from the anchor.
    void put(size_t anchor, float score, float x, float y, float edge) {
        scores[anchor] = score;
        float* numbers = &boxes[anchor * FaceDecoder::kNumbersPerAnchor];
        numbers[0] = x;
        numbers[1] = y;
        numbers[2] = edge;
        numbers[3] = edge;
        for (size_t i = 0; i < 2 * Face::kKeyPoints; ++i) {
            numbers[4 + i] = static_cast<float>(i);
        }
    }
    void addTo(FaceDecoder* decoder) const { decoder->add(grid, scores.data(), boxes.data()); }

    FaceDecoder::Grid grid;
    std::vector<float> scores;
    std::vector<float> boxes;
};

TEST(FaceDecoder, FindsTheAnchorOfEachNumber) {
    const struct {
        FaceDecoder::Grid grid;
        size_t anchor;
        float x;  // Of the anchor, in pixels.
        float y;
    } cases[] = {
            {FaceDecoder::kFine, 1, 4, 4},       {FaceDecoder::kFine, 32, 4, 12},
            {FaceDecoder::kFine, 511, 124, 124}, {FaceDecoder::kCoarse, 5, 8, 8},
            {FaceDecoder::kCoarse, 6, 24, 8},    {FaceDecoder::kCoarse, 48, 8, 24},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.grid.cells << " cells, anchor " << c.anchor);
        GridOutput output(c.grid);
        output.put(c.anchor, 5, 3, -2, 20);
        FaceDecoder decoder;
        output.addTo(&decoder);
        const std::vector<Face> faces = decoder.faces();
        ASSERT_EQ(faces.size(), 1U);
        EXPECT_NEAR(faces[0].score, 1 / (1 + std::exp(-5.0F)), 1e-6);
        EXPECT_NEAR(faces[0].left, (c.x + 3 - 10) * kPixel, 1e-6);
        EXPECT_NEAR(faces[0].top, (c.y - 2 - 10) * kPixel, 1e-6);
        EXPECT_NEAR(faces[0].width, 20 * kPixel, 1e-6);
        EXPECT_NEAR(faces[0].keyPoints[5].y, (c.y + 11) * kPixel, 1e-6);
    }
}

TEST(FaceDecoder, TakesScoresFromTheThresholdOn) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        float score;
        size_t faces;
    } cases[] = {{1.11F, 1}, {1.08F, 0}, {1e30F, 1}, {-1e30F, 0}, {nan, 0}};
    for (const auto& c : cases) {
        GridOutput output(FaceDecoder::kFine);
        output.put(100, c.score, 0, 0, 30);
        FaceDecoder decoder(0.75F);
        output.addTo(&decoder);
        EXPECT_EQ(decoder.faces().size(), c.faces) << c.score;
    }
}

// Both grids see the same face; the better one has more say in where it is.
TEST(FaceDecoder, MergesFindsOfOneFace) {
    GridOutput fine(FaceDecoder::kFine);
    GridOutput coarse(FaceDecoder::kCoarse);
    const size_t fineAnchor = 2 * (8 * 16 + 8);   // At 68, 68.
    const size_t coarseAnchor = 6 * (4 * 8 + 4);  // At 72, 72.
    fine.put(fineAnchor, 2, 0, 0, 40);
    coarse.put(coarseAnchor, 4, 0, 0, 40);
    FaceDecoder decoder;
    fine.addTo(&decoder);
    coarse.addTo(&decoder);

    const std::vector<Face> faces = decoder.faces();
    ASSERT_EQ(faces.size(), 1U);
    const float worse = 1 / (1 + std::exp(-2.0F));
    const float better = 1 / (1 + std::exp(-4.0F));
    const float centre = (68 * worse + 72 * better) / (worse + better);
    EXPECT_NEAR(faces[0].score, better, 1e-6);
    EXPECT_NEAR(faces[0].left, (centre - 20) * kPixel, 1e-5);
    EXPECT_NEAR(faces[0].width, 40 * kPixel, 1e-5);
}

TEST(FaceDecoder, KeepsFacesApartBestFirst) {
    const struct {
        float distance;  // Between two faces of 40 pixels, side by side.
        size_t faces;
    } cases[] = {{40, 2}, {24, 2}, {16, 1}};
    for (const auto& c : cases) {
        GridOutput output(FaceDecoder::kFine);
        const size_t anchor = 2 * (8 * 16 + 4);
        output.put(anchor, 2, 0, 0, 40);
        output.put(anchor + 1, 3, c.distance, 0, 40);
        FaceDecoder decoder;
        output.addTo(&decoder);
        const std::vector<Face> faces = decoder.faces();
        ASSERT_EQ(faces.size(), c.faces) << c.distance;
        EXPECT_GE(faces.front().score, faces.back().score);
        EXPECT_NEAR(faces.front().score, 1 / (1 + std::exp(-3.0F)), 1e-6);
    }
}

}  // namespace
}  // namespace orva::client
