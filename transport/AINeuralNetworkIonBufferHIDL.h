/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include "common/UniqueFd.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {

// Which of ION's interfaces the running kernel has.
enum class KernelGeneration {
    Kernel49,   // user handles, from which descriptors are made
    Kernel414,  // descriptors only
    KernelUnknown,
};

// The tensor of the type "AINeuralNetworkIonBuffer": its bytes lie in an ION buffer, shared as a
// dma-buf descriptor, which accelerators use in place. Its shape travels as the shared-memory
// tensor's does.
//
// A tensor is used by one thread at a time; different tensors are independent.
class AINeuralNetworkIonBufferHIDL : public AINeuralNetworkBufferHIDL {
public:
    static constexpr const char* kLogTag = "AINeuralNetworkIonBufferHIDL";

    AINeuralNetworkIonBufferHIDL() = default;
    ~AINeuralNetworkIonBufferHIDL() override;

    // Applies the description, then maps the tensor's bytes by the length of IonMapLength(): the
    // region in memory() when there is one, which must be that long (the tensor's size becomes the
    // one that came with it), otherwise a new ION buffer of the tensor's size. Accelerators may use
    // the bytes in place. The mapping lives as long as the tensor, or until the next Init that
    // succeeds. False as the shared-memory tensor's.
    bool Init(const AITensorDescription& description) override;
    const char* GetTypeName() override;

    // Asks the kernel for its release. From any thread.
    static KernelGeneration GetLinuxKernelVersion();
    // Gives back an open ION device and, where the kernel has such, the user handle of a buffer
    // there. A negative device is logged and left alone.
    static void IonRelease(int ionFd, uint32_t ionHandle);

private:
    // Makes a buffer of `length` bytes, on a device that stays open with it. Null, or what the log
    // is to say.
    const char* MakeBuffer(uint64_t length, UniqueFd& buffer);
    // Gives back what the tensor has of the open device.
    void DropDevice();

    int32_t ionFd_ = -1;  // the ION device, open while the tensor has a buffer of its own
    uint32_t ionHandle_ = 0;
};

}  // namespace orva::hidl
