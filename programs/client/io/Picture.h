/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orva::client {

// Rows of pixels, three bytes each: red, green, blue.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> bytes;

    Pixels() = default;
    // All black.
    Pixels(int width, int height);
    uint8_t* at(int x, int y) {
        return &bytes[3 * (static_cast<size_t>(y) * static_cast<size_t>(width) +
                           static_cast<size_t>(x))];
    }
    const uint8_t* at(int x, int y) const { return const_cast<Pixels*>(this)->at(x, y); }
};

// Where a picture lies in a canvas that it was fitted into.
struct Placement {
    double scale;  // Canvas pixels for each picture pixel.
    int left;
    int top;
};

// The picture stretched to a size: the mean of the pixels that one of the result covers where it
// shrinks, linear between neighbours where it grows.
Pixels resized(const Pixels& picture, int width, int height);

// What models take: red, green, blue by pixel, or as whole planes; a single shade; or the whole
// picture in the middle of a black square, in its own proportions.
std::vector<uint8_t> stretched(const Pixels& picture, int width, int height, bool planes);
std::vector<uint8_t> grey(const Pixels& picture, int width, int height);
std::vector<uint8_t> fitted(const Pixels& picture, int edge, Placement* placement);

}  // namespace orva::client
