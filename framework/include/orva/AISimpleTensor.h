/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/IAITensor.h>

namespace orva {

// A tensor over one contiguous buffer that it does not free by itself.
class AISimpleTensor : public IAITensor {
public:
    // Points the tensor at a buffer of `size` bytes. `owned` tells the framework whether it is to
    // release the buffer. With `zeroCopy` accelerators may use the buffer in place.
    virtual void SetBufferAttr(void* buffer, int size, bool owned, bool zeroCopy);

    // Whether the buffer was set as usable in place.
    virtual bool IsSupportZerocpy();

    // As SetBufferAttr, without touching the zero-copy property.
    void SetBuffer(void* buffer, int size, bool owned);

    void* GetBuffer() const { return buffer_; }
    // Unit: bytes.
    int GetSize() const { return size_; }

private:
    void* buffer_ = nullptr;
    int size_ = 0;
    bool owned_ = false;
    bool zeroCopy_ = false;
};

}  // namespace orva
