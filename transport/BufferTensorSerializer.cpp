/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/BufferTensorSerializer.h"

#include <cstring>

#include "common/StatusCodes.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {

uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor) {
    if (tensor == nullptr) {
        return kTransportFailure;
    }
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    // On failure the block of an earlier call, or the peer's, is sent instead.
    buffer.SerializeToHidlMemory();

    const char* const type = buffer.GetTypeName();
    out.type.setToExternal(type, std::strlen(type));
    // What cannot be duplicated is left out, as its receiver sees.
    buffer.memory().CopyTo(out.data);
    buffer.serializeMemory().CopyTo(out.attr);
    return kTransportSuccess;
}

uint32_t DeserializeBufferTensor(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in) {
    if (tensor == nullptr) {
        return kTransportFailure;
    }
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    buffer.Receive(in.data, in.attr);
    // A record that cannot be read leaves the tensor's default shape; its bytes still arrive.
    buffer.DeserializeFromHidlMemory();
    return buffer.Init(AITensorDescription()) ? kTransportSuccess : kTransportFailure;
}

}  // namespace orva::hidl
