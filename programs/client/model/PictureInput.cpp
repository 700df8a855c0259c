/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/PictureInput.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "client/io/PictureFile.h"

namespace orva::client {

namespace {

constexpr size_t kColours = 3;

double numberFor(const std::vector<double>& numbers, size_t channel, double otherwise) {
    return numbers.empty() ? otherwise : numbers[std::min(channel, numbers.size() - 1)];
}

bool isFloat(ElementType type) {
    return type == ElementType::kFloat32 || type == ElementType::kFloat16 ||
           type == ElementType::kBfloat16 || type == ElementType::kFloat64;
}

}  // namespace

bool PictureNumbers::areByChannel() const {
    return std::max({mean.size(), scale.size(), bias.size()}) > 1;
}

double PictureNumbers::factor(size_t channel) const {
    return numberFor(scale, channel, 1);
}

double PictureNumbers::offset(size_t channel) const {
    return numberFor(bias, channel, 0) - numberFor(mean, channel, 0) * factor(channel);
}

PictureInput::PictureInput(const TensorShape& input, PictureNumbers numbers)
        : numbers_(std::move(numbers)), layout_(pictureLayout(input.dims)), shape_(input) {
    const auto fail = [&](const std::string& what) {
        throw std::runtime_error("the model's input '" + input.name + "' is " + nameOf(input.type) +
                                 " " + input.text() + ", " + what);
    };
    if (layout_ == PictureLayout::kNone) {
        fail("which is no picture; give its bytes with --input");
    }
    if (numbers_.areGiven() && !isFloat(input.type)) {
        fail("which takes bytes as they are, without --mean, --scale or --bias");
    }
    if (!numbers_.areByChannel()) {
        shape_.type = ElementType::kUint8;
        return;
    }
    if (input.dims[layout_ == PictureLayout::kChannelsFirst ? 1 : 3] != kColours) {
        fail("which has no red, green and blue; give one number instead of three");
    }
    if (input.type != ElementType::kFloat32) {
        fail("for which numbers by channel cannot be made; float32 is needed");
    }
}

std::vector<uint8_t> PictureInput::read(const std::string& path) const {
    const bool planes = layout_ == PictureLayout::kChannelsFirst;
    const auto height = static_cast<int>(shape_.dims[planes ? 2 : 1]);
    const auto width = static_cast<int>(shape_.dims[planes ? 3 : 2]);
    const Pixels picture = readPicture(path);
    if (shape_.dims[planes ? 1 : 3] == 1) {
        return grey(picture, width, height);
    }
    std::vector<uint8_t> bytes = stretched(picture, width, height, planes);
    if (!numbers_.areByChannel()) {
        return bytes;
    }
    std::vector<float> floats(bytes.size());
    const size_t plane = bytes.size() / kColours;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const size_t channel = planes ? i / plane : i % kColours;
        floats[i] =
                static_cast<float>(bytes[i] * numbers_.factor(channel) + numbers_.offset(channel));
    }
    bytes.resize(floats.size() * sizeof(float));
    std::memcpy(bytes.data(), floats.data(), bytes.size());
    return bytes;
}

}  // namespace orva::client
