/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/faces/FaceDecoder.h"

#include <algorithm>
#include <cmath>

namespace orva::client {

namespace {

// Beyond this the exponential says nothing more than 0 or 1, and further out it overflows.
constexpr float kScoreLimit = 100;

float sigmoid(float value) {
    return 1 / (1 + std::exp(-std::clamp(value, -kScoreLimit, kScoreLimit)));
}

Face decode(float score, Point anchor, const float* numbers) {
    constexpr float kEdge = FaceDecoder::kInputEdge;
    Face face = {};
    face.score = score;
    face.width = numbers[2] / kEdge;
    face.height = numbers[3] / kEdge;
    face.left = anchor.x + numbers[0] / kEdge - face.width / 2;
    face.top = anchor.y + numbers[1] / kEdge - face.height / 2;
    for (size_t i = 0; i < Face::kKeyPoints; ++i) {
        face.keyPoints[i] = {anchor.x + numbers[4 + 2 * i] / kEdge,
                             anchor.y + numbers[5 + 2 * i] / kEdge};
    }
    return face;
}

float intersectionOverUnion(const Face& a, const Face& b) {
    const float width = std::min(a.left + a.width, b.left + b.width) - std::max(a.left, b.left);
    const float height = std::min(a.top + a.height, b.top + b.height) - std::max(a.top, b.top);
    if (width <= 0 || height <= 0) {
        return 0;
    }
    const float common = width * height;
    return common / (a.width * a.height + b.width * b.height - common);
}

// The finds of one face differ by noise, so their mean, by score, is steadier than the best alone.
Face mean(const std::vector<Face>& group) {
    float weight = 0;
    Face sum = {};
    for (const Face& face : group) {
        weight += face.score;
        sum.left += face.score * face.left;
        sum.top += face.score * face.top;
        sum.width += face.score * face.width;
        sum.height += face.score * face.height;
        for (size_t i = 0; i < Face::kKeyPoints; ++i) {
            sum.keyPoints[i].x += face.score * face.keyPoints[i].x;
            sum.keyPoints[i].y += face.score * face.keyPoints[i].y;
        }
    }
    Face result = {group.front().score, sum.left / weight,   sum.top / weight,
                   sum.width / weight,  sum.height / weight, {}};
    for (size_t i = 0; i < Face::kKeyPoints; ++i) {
        result.keyPoints[i] = {sum.keyPoints[i].x / weight, sum.keyPoints[i].y / weight};
    }
    return result;
}

}  // namespace

void FaceDecoder::add(const Grid& grid, const float* scores, const float* boxes) {
    for (size_t i = 0; i < grid.anchors(); ++i) {
        const float score = sigmoid(scores[i]);
        // Written so that a score that is no number is no face.
        if (!(score >= threshold_)) {
            continue;
        }
        const size_t cell = i / grid.anchorsPerCell;
        const auto edge = static_cast<float>(grid.cells);
        const size_t column = cell % grid.cells;
        const size_t row = cell / grid.cells;
        const Point anchor = {(static_cast<float>(column) + 0.5F) / edge,
                              (static_cast<float>(row) + 0.5F) / edge};
        found_.push_back(decode(score, anchor, boxes + i * kNumbersPerAnchor));
    }
}

std::vector<Face> FaceDecoder::faces() const {
    std::vector<Face> rest = found_;
    std::stable_sort(rest.begin(), rest.end(),
                     [](const Face& a, const Face& b) { return a.score > b.score; });
    std::vector<Face> faces;
    while (!rest.empty()) {
        const Face best = rest.front();
        std::vector<Face> group = {best};
        std::vector<Face> others;
        for (size_t i = 1; i < rest.size(); ++i) {
            const bool same = intersectionOverUnion(best, rest[i]) > overlap_;
            (same ? group : others).push_back(rest[i]);
        }
        faces.push_back(mean(group));
        rest = std::move(others);
    }
    return faces;
}

}  // namespace orva::client
