/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orva::client {

namespace {

constexpr size_t kChannels = 3;

// The pixels of a line that one of the result is made of, and how much each counts.
struct Share {
    int begin;
    std::vector<float> weights;
};

// Where the line shrinks: each pixel by how much of it the result's covers.
Share covered(double from, double to, int length) {
    const int begin = std::clamp(static_cast<int>(std::floor(from)), 0, length - 1);
    Share share = {begin, {}};
    for (int i = begin; i < length && i < to; ++i) {
        const double part = std::min(to, i + 1.0) - std::max(from, static_cast<double>(i));
        share.weights.push_back(static_cast<float>(part / (to - from)));
    }
    return share;
}

// Where it grows: the two whose middles lie around the middle of the result's.
Share between(double middle, int length) {
    const double at = std::clamp(middle - 0.5, 0.0, length - 1.0);
    const int begin = std::min(static_cast<int>(at), std::max(0, length - 2));
    const auto second = static_cast<float>(at - begin);
    return length == 1 ? Share{0, {1}} : Share{begin, {1 - second, second}};
}

std::vector<Share> sharesOf(int length, int resultLength) {
    const double scale = static_cast<double>(length) / resultLength;
    std::vector<Share> shares;
    shares.reserve(static_cast<size_t>(resultLength));
    for (int i = 0; i < resultLength; ++i) {
        shares.push_back(scale > 1 ? covered(i * scale, (i + 1) * scale, length)
                                   : between((i + 0.5) * scale, length));
    }
    return shares;
}

}  // namespace

Pixels::Pixels(int width, int height)
        : width(width),
          height(height),
          bytes(kChannels * static_cast<size_t>(width) * static_cast<size_t>(height)) {}

Pixels resized(const Pixels& picture, int width, int height) {
    const std::vector<Share> columns = sharesOf(picture.width, width);
    const std::vector<Share> rows = sharesOf(picture.height, height);
    Pixels result(width, height);
    // One row of the picture's width at a time, then its columns.
    std::vector<float> row(kChannels * static_cast<size_t>(picture.width));
    for (int y = 0; y < height; ++y) {
        const Share& lines = rows[static_cast<size_t>(y)];
        std::fill(row.begin(), row.end(), 0.F);
        for (size_t i = 0; i < lines.weights.size(); ++i) {
            const uint8_t* const line = picture.at(0, lines.begin + static_cast<int>(i));
            for (size_t x = 0; x < row.size(); ++x) {
                row[x] += lines.weights[i] * static_cast<float>(line[x]);
            }
        }
        for (int x = 0; x < width; ++x) {
            const Share& pixels = columns[static_cast<size_t>(x)];
            for (size_t channel = 0; channel < kChannels; ++channel) {
                const float* value = &row[kChannels * static_cast<size_t>(pixels.begin) + channel];
                float sum = 0;
                for (const float weight : pixels.weights) {
                    sum += weight * *value;
                    value += kChannels;
                }
                result.at(x, y)[channel] = static_cast<uint8_t>(std::lrint(sum));
            }
        }
    }
    return result;
}

std::vector<uint8_t> stretched(const Pixels& picture, int width, int height, bool planes) {
    Pixels pixels = resized(picture, width, height);
    if (!planes) {
        return std::move(pixels.bytes);
    }
    const size_t count = pixels.bytes.size() / kChannels;
    std::vector<uint8_t> bytes(pixels.bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i % kChannels * count + i / kChannels] = pixels.bytes[i];
    }
    return bytes;
}

std::vector<uint8_t> grey(const Pixels& picture, int width, int height) {
    const Pixels pixels = resized(picture, width, height);
    std::vector<uint8_t> shades(pixels.bytes.size() / kChannels);
    for (size_t i = 0; i < shades.size(); ++i) {
        // How bright the eye finds each colour, in parts of 1000.
        const uint8_t* const pixel = &pixels.bytes[kChannels * i];
        shades[i] = static_cast<uint8_t>((299 * pixel[0] + 587 * pixel[1] + 114 * pixel[2] + 500) /
                                         1000);
    }
    return shades;
}

std::vector<uint8_t> fitted(const Pixels& picture, int edge, Placement* placement) {
    const double scale = static_cast<double>(edge) / std::max(picture.width, picture.height);
    const int width = std::max(1, static_cast<int>(std::lround(picture.width * scale)));
    const int height = std::max(1, static_cast<int>(std::lround(picture.height * scale)));
    *placement = {scale, (edge - width) / 2, (edge - height) / 2};
    const Pixels inside = resized(picture, width, height);
    Pixels canvas(edge, edge);
    for (int y = 0; y < height; ++y) {
        std::memcpy(canvas.at(placement->left, placement->top + y), inside.at(0, y),
                    kChannels * static_cast<size_t>(width));
    }
    return std::move(canvas.bytes);
}

}  // namespace orva::client
