/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <orva/IAITensor.h>

namespace orva::reference {

// The bytes of a buffer tensor, in memory that its client shares: they may change at any time.
struct BufferView {
    uint8_t* data = nullptr;
    size_t size = 0;
    // AITensorDataType.
    int dataType = 0;
};

// False when the tensor is null, not a buffer tensor, or has no memory.
bool ViewBuffer(const std::shared_ptr<IAITensor>& tensor, BufferView& view);

}  // namespace orva::reference
