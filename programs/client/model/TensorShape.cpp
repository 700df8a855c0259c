/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/TensorShape.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <onnx/ElementType.h>
#include <onnx/EngineTensor.h>

namespace orva::client {

namespace {

// A tensor's size travels as a signed 32-bit number on the service's side.
constexpr int64_t kMostElements = std::numeric_limits<int32_t>::max() / 4;

template <typename Number>
Number read(const uint8_t* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

double floatOf(uint32_t bits) {
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

// A sign, five bits of exponent and ten of fraction.
double halfAt(uint16_t bits) {
    const int exponent = bits >> 10 & 31;
    const int fraction = bits & 1023;
    const double sign = bits >> 15 != 0 ? -1 : 1;
    if (exponent == 31) {
        return fraction != 0 ? std::nan("") : sign * INFINITY;
    }
    return sign *
           (exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25));
}

bool isChannelCount(int64_t dim) {
    return dim == 1 || dim == 3;
}

}  // namespace

const char* nameOf(ElementType type) {
    return reference::ElementTypeOf(static_cast<int>(type))->name;
}

size_t sizeOf(ElementType type) {
    return reference::ElementTypeOf(static_cast<int>(type))->size;
}

bool isInteger(ElementType type) {
    switch (type) {
    case ElementType::kFloat16:
    case ElementType::kBfloat16:
    case ElementType::kFloat32:
    case ElementType::kFloat64:
        return false;
    default:
        return true;
    }
}

long double valueAt(ElementType type, const uint8_t* bytes) {
    switch (type) {
    case ElementType::kUint8:
    case ElementType::kBool:
        return *bytes;
    case ElementType::kInt8:
        return read<int8_t>(bytes);
    case ElementType::kInt16:
        return read<int16_t>(bytes);
    case ElementType::kInt32:
        return read<int32_t>(bytes);
    case ElementType::kInt64:
        return read<int64_t>(bytes);
    case ElementType::kUint16:
        return read<uint16_t>(bytes);
    case ElementType::kUint32:
        return read<uint32_t>(bytes);
    case ElementType::kUint64:
        return read<uint64_t>(bytes);
    case ElementType::kFloat16:
        return halfAt(read<uint16_t>(bytes));
    case ElementType::kBfloat16:
        return floatOf(uint32_t{read<uint16_t>(bytes)} << 16);
    case ElementType::kFloat32:
        return read<float>(bytes);
    case ElementType::kFloat64:
        return read<double>(bytes);
    }
    return 0;
}

bool TensorShape::isOpen() const {
    return std::count(dims.begin(), dims.end(), -1) != 0;
}

size_t TensorShape::elements() const {
    size_t count = 1;
    for (const int64_t dim : dims) {
        count *= static_cast<size_t>(dim);
    }
    return count;
}

std::string TensorShape::text() const {
    return reference::TextOf(dims, dimNames);
}

TensorAttributes TensorShape::attributes() const {
    const auto dim = [this](size_t i) {
        return i < dims.size() ? static_cast<int32_t>(dims[i]) : 1;
    };
    TensorAttributes attributes;
    attributes.dataType = static_cast<int32_t>(type);
    attributes.number = dim(0);
    if (pictureLayout(dims) == PictureLayout::kChannelsLast) {
        attributes.height = dim(1);
        attributes.width = dim(2);
        attributes.channel = dim(3);
        return attributes;
    }
    attributes.channel = dim(1);
    attributes.height = dim(2);
    attributes.width = dim(3);
    for (size_t i = 4; i < dims.size(); ++i) {
        attributes.width *= dim(i);
    }
    return attributes;
}

PictureLayout pictureLayout(const std::vector<int64_t>& dims) {
    if (dims.size() != 4) {
        return PictureLayout::kNone;
    }
    if (isChannelCount(dims[1])) {
        return PictureLayout::kChannelsFirst;
    }
    return isChannelCount(dims[3]) ? PictureLayout::kChannelsLast : PictureLayout::kNone;
}

std::vector<int64_t> parseDims(const std::string& text, int64_t least) {
    std::vector<int64_t> dims;
    int64_t elements = 1;
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find('x', begin), text.size());
        const std::string part = text.substr(begin, end - begin);
        if (part.empty() || part.size() > 10 ||
            part.find_first_not_of("0123456789") != std::string::npos || std::stoll(part) < least) {
            throw std::invalid_argument("'" + text + "' is no shape; write it as 1x128x128x3");
        }
        dims.push_back(std::stoll(part));
        if (dims.back() > kMostElements / elements) {
            throw std::invalid_argument("the shape " + text + " is too large for one tensor");
        }
        elements *= std::max<int64_t>(dims.back(), 1);
        begin = end + 1;
    }
    return dims;
}

}  // namespace orva::client
