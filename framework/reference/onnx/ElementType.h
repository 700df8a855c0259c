/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <orva/AINeuralNetworkBuffer.h>

namespace orva::reference {

// What the elements of a tensor are: the type's code in a buffer, its number in an ONNX file, its
// name, and the bytes of an element.
struct ElementType {
    AITensorDataType dataType;
    int32_t onnx;
    const char* name;
    size_t size;
};

// Null for a type that no buffer can have.
const ElementType* ElementTypeOf(int dataType);
const ElementType* ElementTypeOfOnnx(int32_t onnx);

// The name of any of ONNX's element types, for people.
std::string OnnxTypeName(int32_t onnx);

}  // namespace orva::reference
