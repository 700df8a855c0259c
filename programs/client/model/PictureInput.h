/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/model/TensorShape.h"

namespace orva::client {

// What becomes of each byte of a picture for a model that takes floats:
// (byte - mean) * scale + bias. Each is one number, one for red, green and blue each, or none.
struct PictureNumbers {
    std::vector<double> mean;
    std::vector<double> scale;
    std::vector<double> bias;

    bool areGiven() const { return !mean.empty() || !scale.empty() || !bias.empty(); }
    bool areByChannel() const;
    // As the node takes it, byte * factor + offset, where all are one number.
    double factor(size_t channel = 0) const;
    double offset(size_t channel = 0) const;
};

// How pictures lie in a model's input: bytes, of which the node makes floats where the model takes
// those, or, where each channel has numbers of its own, floats.
class PictureInput {
public:
    // Throws std::runtime_error, saying why, when the input takes no pictures, or not such numbers.
    PictureInput(const TensorShape& input, PictureNumbers numbers);

    // What the client sends, for as many pictures as one request takes.
    const TensorShape& shape() const { return shape_; }
    // Reads a picture, stretched to the input's size. Throws as readPicture does.
    std::vector<uint8_t> read(const std::string& path) const;

private:
    const PictureNumbers numbers_;
    const PictureLayout layout_;
    TensorShape shape_;
};

}  // namespace orva::client
