/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Exif.h"

#include <cstring>

namespace orva::client {

namespace {

constexpr int kUpright = 1;
constexpr uint8_t kApp1 = 0xe1;
constexpr uint8_t kStartOfScan = 0xda;
constexpr char kExif[] = {'E', 'x', 'i', 'f', 0, 0};
constexpr uint32_t kOrientationTag = 0x112;
constexpr size_t kEntrySize = 12;

// A part of the file, read in either byte order; what lies outside of it reads as 0.
struct Bytes {
    const uint8_t* data;
    size_t size;
    bool littleEndian = false;

    uint32_t number(size_t at, size_t width) const {
        if (at > size || size - at < width) {
            return 0;
        }
        uint32_t value = 0;
        for (size_t i = 0; i < width; ++i) {
            value = value << 8 | data[at + (littleEndian ? width - 1 - i : i)];
        }
        return value;
    }
};

int orientationIn(Bytes tiff) {
    tiff.littleEndian = tiff.size > 0 && tiff.data[0] == 'I';
    const size_t directory = tiff.number(4, 4);
    const uint32_t entries = tiff.number(directory, 2);
    for (uint32_t i = 0; i < entries; ++i) {
        const size_t entry = directory + 2 + i * kEntrySize;
        if (tiff.number(entry, 2) == kOrientationTag) {
            const uint32_t value = tiff.number(entry + 8, 2);
            return value >= 1 && value <= 8 ? static_cast<int>(value) : kUpright;
        }
    }
    return kUpright;
}

}  // namespace

int exifOrientation(const uint8_t* file, size_t size) {
    const Bytes jpeg = {file, size};
    for (size_t at = 2; size > at && size - at >= 4 && file[at] == 0xff;) {
        const uint8_t marker = file[at + 1];
        const size_t length = jpeg.number(at + 2, 2);
        if (marker == kStartOfScan || length < 2 || length > size - at - 2) {
            break;
        }
        const uint8_t* const segment = file + at + 4;
        if (marker == kApp1 && length - 2 >= sizeof kExif &&
            std::memcmp(segment, kExif, sizeof kExif) == 0) {
            return orientationIn({segment + sizeof kExif, length - 2 - sizeof kExif});
        }
        at += 2 + length;
    }
    return kUpright;
}

Pixels upright(const Pixels& picture, int orientation) {
    if (orientation == kUpright) {
        return picture;
    }
    const bool swaps = orientation >= 5;
    Pixels result(swaps ? picture.height : picture.width, swaps ? picture.width : picture.height);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const int fromRight = picture.width - 1 - x, fromBelow = picture.height - 1 - y;
            const int column = orientation == 1 || orientation == 4   ? x
                               : orientation == 2 || orientation == 3 ? fromRight
                               : orientation == 5 || orientation == 8 ? y
                                                                      : fromBelow;
            const int row = orientation == 1 || orientation == 2   ? y
                            : orientation == 3 || orientation == 4 ? fromBelow
                            : orientation == 5 || orientation == 6 ? x
                                                                   : fromRight;
            std::memcpy(result.at(column, row), picture.at(x, y), 3);
        }
    }
    return result;
}

}  // namespace orva::client
