/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/faces/FaceDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace orva::client {

namespace {

struct Colour {
    uint8_t red, green, blue;
};
constexpr Colour kBox = {60, 220, 80};
constexpr Colour kPoint = {255, 200, 40};
constexpr Colour kText = {0, 0, 0};

// The characters of "face 0.92", five by seven, a row in five bits.
constexpr int kLetterWidth = 5;
constexpr int kLetterHeight = 7;
struct Letter {
    char character;
    uint8_t rows[kLetterHeight];
};
constexpr Letter kLetters[] = {
        {'0', {0x0e, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0e}},
        {'1', {0x04, 0x0c, 0x04, 0x04, 0x04, 0x04, 0x0e}},
        {'2', {0x0e, 0x11, 0x01, 0x06, 0x08, 0x10, 0x1f}},
        {'3', {0x1e, 0x01, 0x01, 0x0e, 0x01, 0x01, 0x1e}},
        {'4', {0x02, 0x06, 0x0a, 0x12, 0x1f, 0x02, 0x02}},
        {'5', {0x1f, 0x10, 0x1e, 0x01, 0x01, 0x11, 0x0e}},
        {'6', {0x06, 0x08, 0x10, 0x1e, 0x11, 0x11, 0x0e}},
        {'7', {0x1f, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
        {'8', {0x0e, 0x11, 0x11, 0x0e, 0x11, 0x11, 0x0e}},
        {'9', {0x0e, 0x11, 0x11, 0x0f, 0x01, 0x02, 0x0c}},
        {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0c, 0x0c}},
        {'a', {0x00, 0x00, 0x0e, 0x01, 0x0f, 0x11, 0x0f}},
        {'c', {0x00, 0x00, 0x0e, 0x10, 0x10, 0x11, 0x0e}},
        {'e', {0x00, 0x00, 0x0e, 0x11, 0x1f, 0x10, 0x0e}},
        {'f', {0x06, 0x08, 0x1c, 0x08, 0x08, 0x08, 0x08}},
};

// `part`: how much of the pixel it covers.
void blend(Pixels* picture, int x, int y, Colour colour, double part) {
    if (x < 0 || y < 0 || x >= picture->width || y >= picture->height) {
        return;
    }
    uint8_t* const pixel = picture->at(x, y);
    const uint8_t wanted[] = {colour.red, colour.green, colour.blue};
    for (size_t i = 0; i < 3; ++i) {
        pixel[i] = static_cast<uint8_t>(std::lround(pixel[i] + part * (wanted[i] - pixel[i])));
    }
}

struct Area {
    int left, top, width, height;
};

// Only what lies in the picture is gone through, however large the area is.
void fill(Pixels* picture, const Area& area, Colour colour) {
    const int right = std::min(area.left + area.width, picture->width);
    const int bottom = std::min(area.top + area.height, picture->height);
    for (int y = std::max(0, area.top); y < bottom; ++y) {
        for (int x = std::max(0, area.left); x < right; ++x) {
            blend(picture, x, y, colour, 1);
        }
    }
}

void frame(Pixels* picture, const Area& area, int line, Colour colour) {
    const int out = line / 2;
    const int left = area.left - out, top = area.top - out;
    const int width = area.width + line, height = area.height + line;
    fill(picture, {left, top, width, line}, colour);
    fill(picture, {left, top + height - line, width, line}, colour);
    fill(picture, {left, top, line, height}, colour);
    fill(picture, {left + width - line, top, line, height}, colour);
}

void disc(Pixels* picture, const Point& middle, int radius, Colour colour) {
    const auto x0 = static_cast<int>(middle.x), y0 = static_cast<int>(middle.y);
    for (int y = y0 - radius - 1; y <= y0 + radius + 1; ++y) {
        for (int x = x0 - radius - 1; x <= x0 + radius + 1; ++x) {
            const double distance = std::hypot(x - static_cast<double>(middle.x),
                                               y - static_cast<double>(middle.y));
            blend(picture, x, y, colour, std::clamp(radius + 0.5 - distance, 0.0, 1.0));
        }
    }
}

void write(Pixels* picture, const std::string& text, int left, int top, int size) {
    for (const char character : text) {
        for (const Letter& letter : kLetters) {
            for (int i = 0; letter.character == character && i < kLetterWidth * kLetterHeight;
                 ++i) {
                const int column = i % kLetterWidth, row = i / kLetterWidth;
                if ((letter.rows[row] >> (kLetterWidth - 1 - column) & 1) != 0) {
                    fill(picture, {left + column * size, top + row * size, size, size}, kText);
                }
            }
        }
        left += (kLetterWidth + 1) * size;
    }
}

// A detector's numbers may lie anywhere; sums of these fit.
float bounded(float value) {
    constexpr float kFar = 0x1p28F;
    return std::isfinite(value) ? std::clamp(value, -kFar, kFar) : 0;
}

int rounded(float value) {
    return static_cast<int>(std::lround(bounded(value)));
}

}  // namespace

void drawFace(Pixels* picture, const Face& face) {
    // Lines and letters that can be seen on a picture of any size.
    const int edge = std::min(picture->width, picture->height);
    const int line = std::max(1, edge / 200);
    const int size = std::max(1, edge / 300);
    const Area box = {rounded(face.left), rounded(face.top), rounded(face.width),
                      rounded(face.height)};
    frame(picture, box, line, kBox);
    for (const Point& point : face.keyPoints) {
        disc(picture, {bounded(point.x), bounded(point.y)}, 2 * line, kPoint);
    }
    char text[32];
    snprintf(text, sizeof text, "face %.2f", static_cast<double>(face.score));
    const int width = (kLetterWidth + 1) * size * static_cast<int>(std::strlen(text));
    const int height = (kLetterHeight + 4) * size;
    const int top = std::max(0, box.top - line / 2 - height);
    fill(picture, {box.left - line / 2, top, width + 3 * size, height}, kBox);
    write(picture, text, box.left - line / 2 + 2 * size, top + 2 * size, size);
}

}  // namespace orva::client
