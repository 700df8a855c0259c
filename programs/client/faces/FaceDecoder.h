/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace orva::client {

struct Point {
    float x;
    float y;
};

// One face, in parts of the detector's square input: 0 is its left or top edge, 1 its right or
// bottom one. A face that is cut off by an edge reaches beyond.
struct Face {
    static constexpr size_t kKeyPoints = 6;

    float score;  // 0 to 1
    float left;
    float top;
    float width;
    float height;
    // Right eye, left eye, nose, mouth, right ear, left ear, as the person in the picture has them.
    std::array<Point, kKeyPoints> keyPoints;
};

// Decodes what the 128-pixel face detector puts out: a score and 16 numbers for each anchor. The
// anchors lie in the middles of the cells of two grids over the picture, several in each cell.
class FaceDecoder {
public:
    // The picture's edge. Unit: pixels.
    static constexpr int kInputEdge = 128;
    // Box (centre x, y, width, height), then key points (x, y), in pixels; centre and key points
    // are relative to the anchor.
    static constexpr size_t kNumbersPerAnchor = 4 + 2 * Face::kKeyPoints;

    struct Grid {
        size_t cells;  // Along each edge.
        size_t anchorsPerCell;

        constexpr size_t anchors() const { return cells * cells * anchorsPerCell; }
    };
    static constexpr Grid kFine = {16, 2};
    static constexpr Grid kCoarse = {8, 6};

    // `threshold`: the least score of a face. `overlap`: boxes whose intersection is more than this
    // part of their union are of one face.
    explicit FaceDecoder(float threshold = 0.75F, float overlap = 0.3F)
            : threshold_(threshold), overlap_(overlap) {}

    // Adds what one grid found. `scores`: one for each anchor, before the sigmoid; `boxes`:
    // kNumbersPerAnchor for each anchor. Anchors go by row, column and number within their cell.
    void add(const Grid& grid, const float* scores, const float* boxes);

    // One face for each group of overlapping finds, the best first.
    std::vector<Face> faces() const;

private:
    const float threshold_;
    const float overlap_;
    std::vector<Face> found_;
};

}  // namespace orva::client
