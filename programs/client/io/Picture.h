/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "client/faces/FaceDecoder.h"

namespace orva::client {

// Where a picture lies in a canvas that it was fitted into.
struct Placement {
    double scale;  // Canvas pixels for each picture pixel.
    int left;
    int top;
};

// A colour picture, 8 bits for each of blue, green and red.
class Picture {
public:
    // Throws std::runtime_error when the file is no picture that can be read.
    explicit Picture(const std::string& path);

    int width() const { return pixels_.cols; }
    int height() const { return pixels_.rows; }

    // The picture stretched to a size, in the order red, green, blue by pixel, or as whole planes.
    std::vector<uint8_t> stretched(int width, int height, bool planes) const;
    // The picture in a single shade.
    std::vector<uint8_t> grey(int width, int height) const;
    // The whole picture in the middle of a black square, in its own proportions; red, green, blue.
    std::vector<uint8_t> fitted(int edge, Placement* placement) const;

    // Draws a box with its score, and the key points. `face` is in pixels of this picture.
    void draw(const Face& face);
    // Throws std::runtime_error when the file cannot be written. The name's ending chooses the
    // form.
    void save(const std::string& path) const;

private:
    cv::Mat pixels_;
};

}  // namespace orva::client
