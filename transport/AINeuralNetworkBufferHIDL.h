/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>
#include <orva/AINeuralNetworkBuffer.h>
#include <orva/AITensorDescription.h>

#include "common/SharedMapping.h"
#include "common/UniqueFd.h"
#include "transport/TensorRegion.h"

namespace orva::hidl {

// The tensor of the type "AINeuralNetworkBuffer": its bytes lie in an anonymous shared-memory
// region that the client and this process both map, and its shape travels as a 20-byte attribute
// record in a small region of its own.
//
// A tensor is used by one thread at a time; different tensors are independent. It owns its regions
// and its mapping, and the buffer that it shows is valid as long as that.
class AINeuralNetworkBufferHIDL : public AINeuralNetworkBuffer {
public:
    // Also of the serializers, and of what other kinds of tensor have in common with this one.
    static constexpr const char* kLogTag = "AINeuralNetworkBufferHIDL";

    AINeuralNetworkBufferHIDL();
    ~AINeuralNetworkBufferHIDL() override;

    // Applies the description, then maps the tensor's bytes: the region that was received, if one
    // was (the tensor's size becomes that region's), otherwise a new region of the tensor's size in
    // bytes, which takes the place of one that an earlier Init made. The mapping lives as long as
    // the tensor, or until the next Init that succeeds.
    //
    // False: the description has a value that is no number (nothing is changed), the received
    // handle has no descriptor, or, with a line in the log, there is no memory to be had.
    bool Init(const AITensorDescription& description) override;
    const char* GetTypeName() override;
    // Bytes of the attribute record: data type, height, width, number and channel, in this order,
    // as 32-bit signed integers of native byte order.
    uint32_t GetSerializeSize() override;
    // Writes the record. 0; 1 for a buffer that is too small, and for a copy that failed, before
    // which some fields may be written.
    uint32_t SerializeTo(void* buffer, uint32_t size) override;
    // Takes the fields from a record, each read once. 0; 1, and the fields unchanged, as above.
    uint32_t DeserializeFrom(const void* buffer, uint32_t size) override;

    // Takes duplicates of what a peer sent as memory() and serializeMemory(). Call Init next; it
    // fails where the data's descriptor could not be duplicated.
    void Receive(const android::hardware::hidl_memory& data,
                 const android::hardware::hidl_memory& attributes);

    // Writes the attribute record into a new region, which becomes serializeMemory(). On failure
    // that is none where an earlier call had made it, and stays where a peer had sent it. Always 0.
    int SerializeToHidlMemory();
    // Reads the attribute record in serializeMemory(), if there is one; on failure the fields stay
    // as they are. Always 0.
    int DeserializeFromHidlMemory();

    // The tensor's bytes; valid until the next Receive or Init.
    const TensorRegion& memory() const { return memory_; }
    // The attribute record; valid until the next Receive or SerializeToHidlMemory.
    const TensorRegion& serializeMemory() const { return serializeMemory_; }

protected:
    // What both kinds of tensor do by Init, which maps `length` bytes for the tensor.
    // The received region. False, with a line in the log, when it cannot be mapped; a handle
    // without descriptors is refused in silence.
    bool MapReceived(uint64_t length, const char* tag);
    // A new region of the tensor's size, behind a descriptor that may be negative. Null, or what
    // the log is to say; the region is then kept until the next Init or the tensor's end.
    const char* MapNew(UniqueFd fd, uint64_t length);
    // Unmaps, and shows no buffer any more.
    void DropMapping();

    TensorRegion serializeMemory_;
    TensorRegion memory_;
    // The length lives here: GetSize() is 32 bits wide and can be set by others.
    SharedMapping mapping_;
};

// The same tensor under the name "AINeuralNetworkIonBuffer": what clients of that type get where
// the framework keeps the first registration of a name.
class AINeuralNetworkIonBufferFallback : public AINeuralNetworkBufferHIDL {
public:
    const char* GetTypeName() override;
};

}  // namespace orva::hidl
