/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/BufferTensorSerializer.h"

#include <cstring>
#include <utility>

#include "common/NativeHandle.h"
#include "common/StatusCodes.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {

using android::hardware::hidl_handle;
using android::hardware::hidl_memory;

namespace {

// Owns duplicates of the descriptors. Assigning the memory would make them, too, but such that a
// child process inherits them, and a platform may abort when it can make none.
bool CopyMemory(const hidl_memory& memory, hidl_memory& copy) {
    NativeHandle duplicate;
    if (!duplicate.Duplicate(memory.handle())) {
        return false;
    }
    hidl_handle owner;
    owner.setTo(duplicate.Release(), true /* shouldOwn */);
    copy = hidl_memory(memory.name(), std::move(owner), memory.size());
    return true;
}

}  // namespace

uint32_t SerializeBufferTensor(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor) {
    if (tensor == nullptr) {
        return kTransportFailure;
    }
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    // On failure the block of an earlier call, or the peer's, is sent instead.
    buffer.SerializeToHidlMemory();

    const char* const type = buffer.GetTypeName();
    out.type.setToExternal(type, std::strlen(type));
    return CopyMemory(buffer.memory(), out.data) && CopyMemory(buffer.serializeMemory(), out.attr)
                   ? kTransportSuccess
                   : kTransportFailure;
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
