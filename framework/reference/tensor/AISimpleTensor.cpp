/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AISimpleTensor.h>

namespace orva {

void AISimpleTensor::SetBufferAttr(void* buffer, int size, bool owned, bool zeroCopy) {
    SetBuffer(buffer, size, owned);
    zeroCopy_ = zeroCopy;
}

bool AISimpleTensor::IsSupportZerocpy() {
    return zeroCopy_;
}

void AISimpleTensor::SetBuffer(void* buffer, int size, bool owned) {
    buffer_ = buffer;
    size_ = size;
    owned_ = owned;
}

}  // namespace orva
