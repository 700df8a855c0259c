/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/BufferTensorSerializer.h"

#include <cstring>

#include "common/StatusCodes.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {

using android::hardware::hidl_memory;

uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor) {
    if (tensor == nullptr) {
        return kTransportFailure;
    }
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    const hidl_memory& data = buffer.memory();
    const char* const type = buffer.GetTypeName();

    // On failure the block of an earlier call, or the peer's, is sent instead.
    buffer.SerializeToHidlMemory();

    out.data = hidl_memory(data.name(), data.handle(), data.size());
    out.type.setToExternal(type, std::strlen(type));
    out.attr = buffer.serializeMemory();
    return kTransportSuccess;
}

uint32_t DeserializeBufferTensor(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in) {
    if (tensor == nullptr) {
        return kTransportFailure;
    }
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    if (!buffer.Receive(in.data, in.attr)) {
        return kTransportFailure;
    }
    // A record that cannot be read leaves the tensor's default shape; its bytes still arrive.
    buffer.DeserializeFromHidlMemory();
    return buffer.Init(AITensorDescription()) ? kTransportSuccess : kTransportFailure;
}

}  // namespace orva::hidl
