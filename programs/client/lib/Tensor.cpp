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
        : mAttributes("orva tensor attributes", sizeof attributes),
          mData(type == kIonBuffer ? SharedRegion::ofIon(bytes)
                                   : SharedRegion("orva tensor", bytes)),
          mType(type) {
    std::memcpy(mAttributes.data(), &attributes, sizeof attributes);
}

Tensor::Tensor(const AITensorHandle& handle)
        : mAttributes(handle.attr), mData(handle.data), mType(handle.type) {
    if (mAttributes.size() < sizeof(TensorAttributes)) {
        throw std::runtime_error("the service sent a tensor with a short attribute record");
    }
}

TensorAttributes Tensor::attributes() const {
    TensorAttributes attributes;
    std::memcpy(&attributes, mAttributes.data(), sizeof attributes);
    return attributes;
}

AITensorHandle Tensor::handle() const {
    AITensorHandle handle = {};
    handle.attr = mAttributes.memory();
    handle.data = mData.memory();
    handle.type = mType;
    return handle;
}

}  // namespace orva::client
