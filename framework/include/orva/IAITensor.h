/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <orva/AITensorDescription.h>

namespace orva {

// A tensor as the framework sees it. The order of the virtual operations is the framework's ABI.
class IAITensor {
public:
    virtual ~IAITensor() = default;

    // Applies a description and makes the tensor's memory ready. False when the description is
    // malformed or the memory cannot be had.
    virtual bool Init(const AITensorDescription& description) = 0;

    // The name under which the tensor's type is registered; valid as long as the tensor.
    virtual const char* GetTypeName() = 0;

    // Bytes that the tensor's attribute record takes.
    virtual uint32_t GetSerializeSize() = 0;
};

}  // namespace orva
