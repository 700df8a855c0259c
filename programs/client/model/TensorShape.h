/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "client/lib/Tensor.h"

namespace orva::client {

// A tensor's size travels as a signed 32-bit number on the service's side. Unit: bytes.
constexpr size_t kMostTensorBytes = (size_t{2} << 30) - 1;

// Element types, by the numbers of the attribute record.
enum class ElementType : int32_t {
    kUint8 = 0,
    kFloat32 = 1,
    kInt8 = 2,
    kInt16 = 3,
    kInt32 = 4,
    kInt64 = 5,
    kUint16 = 6,
    kUint32 = 7,
    kUint64 = 8,
    kFloat16 = 9,
    kBfloat16 = 10,
    kFloat64 = 11,
    kBool = 12,
};

const char* nameOf(ElementType type);
size_t sizeOf(ElementType type);
bool isInteger(ElementType type);
// The number that stands at `bytes`; of every type, to its last digit.
long double valueAt(ElementType type, const uint8_t* bytes);

// What a tensor looks like: its name, where the model gives one, its elements and its dimensions.
struct TensorShape {
    std::string name;
    ElementType type = ElementType::kUint8;
    // -1 where the model leaves a dimension open, and then its name, or none.
    std::vector<int64_t> dims;
    std::vector<std::string> dimNames = {};

    bool isOpen() const;
    // Of a shape that is not open.
    size_t elements() const;
    size_t bytes() const { return elements() * sizeOf(type); }
    // "1x128x128x3"; open dimensions are their names, or "?"
    std::string text() const;
    // The record that says so. The fields are named after a batch of pictures, so the dimensions go
    // where they fit: number, height, width, channel when the channels come last, number, channel,
    // height and the rest as the width otherwise.
    TensorAttributes attributes() const;
};

// How a tensor with these dimensions holds pictures.
enum class PictureLayout { kNone, kChannelsFirst, kChannelsLast };
PictureLayout pictureLayout(const std::vector<int64_t>& dims);

// Parses "1x128x128x3". Throws std::invalid_argument when it is something else, or names more bytes
// than one tensor can have. A dimension is at least `least`.
std::vector<int64_t> parseDims(const std::string& text, int64_t least = 1);

}  // namespace orva::client
