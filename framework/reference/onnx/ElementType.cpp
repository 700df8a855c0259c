/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/ElementType.h"

#include <algorithm>
#include <iterator>

namespace orva::reference {

namespace {

constexpr ElementType kTypes[] = {
        {AI_DATA_TYPE_UINT8, 2, "uint8", 1},        {AI_DATA_TYPE_FLOAT32, 1, "float32", 4},
        {AI_DATA_TYPE_INT8, 3, "int8", 1},          {AI_DATA_TYPE_INT16, 5, "int16", 2},
        {AI_DATA_TYPE_INT32, 6, "int32", 4},        {AI_DATA_TYPE_INT64, 7, "int64", 8},
        {AI_DATA_TYPE_UINT16, 4, "uint16", 2},      {AI_DATA_TYPE_UINT32, 12, "uint32", 4},
        {AI_DATA_TYPE_UINT64, 13, "uint64", 8},     {AI_DATA_TYPE_FLOAT16, 10, "float16", 2},
        {AI_DATA_TYPE_BFLOAT16, 16, "bfloat16", 2}, {AI_DATA_TYPE_FLOAT64, 11, "float64", 8},
        {AI_DATA_TYPE_BOOL, 9, "bool", 1},
};

template <class Predicate>
const ElementType* Find(Predicate predicate) {
    const auto* const found = std::find_if(std::begin(kTypes), std::end(kTypes), predicate);
    return found == std::end(kTypes) ? nullptr : found;
}

}  // namespace

const ElementType* ElementTypeOf(int dataType) {
    return Find([&](const ElementType& type) { return type.dataType == dataType; });
}

const ElementType* ElementTypeOfOnnx(int32_t onnx) {
    return Find([&](const ElementType& type) { return type.onnx == onnx; });
}

std::string OnnxTypeName(int32_t onnx) {
    if (const ElementType* type = ElementTypeOfOnnx(onnx)) {
        return type->name;
    }
    switch (onnx) {
    case 8:
        return "string";
    case 14:
        return "complex64";
    case 15:
        return "complex128";
    default:
        return "of ONNX's type " + std::to_string(onnx);
    }
}

}  // namespace orva::reference
