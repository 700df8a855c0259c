/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Tensor.h"

#include <cstring>
#include <stdexcept>

namespace orva::client {

using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

Tensor::Tensor(const TensorAttributes& attributes, size_t bytes, const std::string& type)
        : attributes_("orva tensor attributes", sizeof attributes),
          data_(type == kIonBuffer ? SharedRegion::ofIon(bytes)
                                   : SharedRegion("orva tensor", bytes)),
          type_(type) {
    std::memcpy(attributes_.data(), &attributes, sizeof attributes);
}

Tensor::Tensor(const AITensorHandle& handle)
        : attributes_(handle.attr), data_(handle.data), type_(handle.type) {
    if (attributes_.size() < sizeof(TensorAttributes)) {
        throw std::runtime_error("the service sent a tensor with a short attribute record");
    }
}

TensorAttributes Tensor::attributes() const {
    TensorAttributes attributes;
    if (!attributes_.read(&attributes, sizeof attributes)) {
        std::memcpy(&attributes, attributes_.data(), sizeof attributes);
    }
    return attributes;
}

AITensorHandle Tensor::handle() const {
    AITensorHandle handle = {};
    handle.attr = attributes_.memory();
    handle.data = data_.memory();
    handle.type = type_;
    return handle;
}

}  // namespace orva::client
