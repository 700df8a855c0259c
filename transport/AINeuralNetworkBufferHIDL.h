/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hidl/HidlSupport.h>
#include <orva/AINeuralNetworkBuffer.h>

#include "common/NativeHandle.h"
#include "common/SharedMapping.h"
#include "debug/LiveTensors.h"

namespace orva::hidl {

// The tensor of the type "AINeuralNetworkBuffer": its bytes lie in an anonymous shared-memory
// region that the client and this process both map, and its shape travels as a 20-byte attribute
// record in a small region of its own.
//
// A tensor is used by one thread at a time; different tensors are independent.
class AINeuralNetworkBufferHIDL : public AINeuralNetworkBuffer {
public:
    AINeuralNetworkBufferHIDL();
    ~AINeuralNetworkBufferHIDL() override;

    // Applies the description, then maps the tensor's bytes: the region that was received, if one
    // was (the tensor's size becomes that region's), otherwise a new region of the tensor's size,
    // which takes the place of one that an earlier Init made. The mapping lives as long as the
    // tensor, or until the next Init that succeeds.
    bool Init(const AITensorDescription& description) override;
    const char* GetTypeName() override;
    uint32_t GetSerializeSize() override;
    uint32_t SerializeTo(void* buffer, uint32_t size) override;
    uint32_t DeserializeFrom(const void* buffer, uint32_t size) override;

    // Takes duplicates of what a peer sent as memory() and serializeMemory(). Call Init next. False
    // when the descriptors cannot be duplicated.
    bool Receive(const android::hardware::hidl_memory& data,
                 const android::hardware::hidl_memory& attributes);

    // Writes the attribute record into a new region, which becomes serializeMemory(). On failure
    // that is empty where an earlier call had made it, and stays where a peer had sent it. Always
    // 0.
    int SerializeToHidlMemory();
    // Reads the attribute record in serializeMemory(), if there is one. Always 0.
    int DeserializeFromHidlMemory();

    // The tensor's bytes. The tensor owns the handle, so it is valid as long as the tensor and
    // until the next Receive or Init.
    const android::hardware::hidl_memory& memory() const { return memory_; }
    // The attribute record. The tensor owns the handle, so it is valid as long as the tensor and
    // until the next Receive or SerializeToHidlMemory.
    const android::hardware::hidl_memory& serializeMemory() const { return serializeMemory_; }

protected:
    // Whether memory() is a peer's, and not one that Init made.
    bool HoldsReceivedMemory() const;

    // The name of every memory that a tensor makes.
    static constexpr char kMemoryName[] = "ashmem";

    android::hardware::hidl_memory serializeMemory_;
    android::hardware::hidl_memory memory_;
    NativeHandle handle_;            // of a region that Init made
    NativeHandle serialize_handle_;  // of a region that SerializeToHidlMemory made

    NativeHandle receivedHandle_;
    NativeHandle receivedAttributes_;
    // The length lives here: GetSize() is 32 bits wide and can be set by others.
    SharedMapping mapping_;
    TensorMark mark_;  // set while there is a mapping
};

// The same tensor under the name "AINeuralNetworkIonBuffer": what clients of that type get where
// the framework keeps the first registration of a name.
class AINeuralNetworkIonBufferFallback : public AINeuralNetworkBufferHIDL {
public:
    const char* GetTypeName() override;
};

}  // namespace orva::hidl
