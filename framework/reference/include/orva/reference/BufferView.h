/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <orva/IAITensor.h>

namespace orva::reference {

// The bytes of a buffer tensor, in memory that its client shares: they may change at any time.
struct BufferView {
    uint8_t* data = nullptr;
    size_t size = 0;
    // AITensorDataType.
    int dataType = 0;
    // The record's number, channel, height and width; all 1 where nobody has set them.
    std::array<int, 4> shape = {1, 1, 1, 1};
};

// False when the tensor is null, not a buffer tensor, or has no memory.
bool ViewBuffer(const std::shared_ptr<IAITensor>& tensor, BufferView& view);

// Writes dimensions into the record of a tensor that ViewBuffer takes, number first; of more than
// four the last one is the product of the rest.
void SetShape(IAITensor& tensor, const std::vector<int64_t>& dims);

}  // namespace orva::reference
