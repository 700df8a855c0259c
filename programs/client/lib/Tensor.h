/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include <vendor/selkat/hardware/ai/2.0/types.h>

#include "client/lib/SharedRegion.h"

namespace orva::client {

// The attribute record of a tensor, as it travels: five 32-bit integers in native byte order.
struct TensorAttributes {
    int32_t dataType = 0;  // 0: 8-bit unsigned, 1: 32-bit float
    int32_t height = 1;
    int32_t width = 1;
    int32_t number = 1;
    int32_t channel = 1;
};
static_assert(sizeof(TensorAttributes) == 20, "the record is part of the wire");

// A tensor in this process's shared memory, to be sent along with requests any number of times.
class Tensor {
public:
    static constexpr char kBuffer[] = "AINeuralNetworkBuffer";
    // In an ION buffer, which accelerators use in place.
    static constexpr char kIonBuffer[] = "AINeuralNetworkIonBuffer";

    // `bytes` bytes of data, all zero.
    Tensor(const TensorAttributes& attributes, size_t bytes, const std::string& type = kBuffer);
    // What a service sent; the data is mapped when it is first asked for, not copied.
    explicit Tensor(const vendor::selkat::hardware::ai::V2_0::AITensorHandle& handle);

    TensorAttributes attributes() const;
    uint8_t* data() const { return data_.data(); }
    size_t size() const { return data_.size(); }

    // The tensor as it travels in a call; lends its descriptors, so valid as long as the tensor.
    vendor::selkat::hardware::ai::V2_0::AITensorHandle handle() const;

private:
    SharedRegion attributes_;
    SharedRegion data_;
    std::string type_;
};

}  // namespace orva::client
