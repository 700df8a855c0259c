/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <type_traits>

#include <hidl/HidlInternal.h>
#include <hidl/types/hidl_handle.h>
#include <hidl/types/hidl_memory.h>
#include <hidl/types/hidl_string.h>
#include <hidl/types/hidl_vec.h>

namespace android::hardware {

// For people to read. All overloads are declared first, so that sequences of sequences find them.

template <typename T>
std::enable_if_t<std::is_arithmetic_v<T>, std::string> toString(T value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else {
        return std::to_string(value);
    }
}
template <typename T>
std::enable_if_t<!std::is_same_v<T, char>, std::string> toString(const T* pointer) {
    return details::toHexString(reinterpret_cast<uintptr_t>(pointer));
}
std::string toString(const hidl_string& text);
std::string toString(const hidl_handle& handle);
std::string toString(const hidl_memory& memory);
template <typename T>
std::string toString(const hidl_vec<T>& values);

template <typename T>
std::string toString(const hidl_vec<T>& values) {
    std::string text = "[" + std::to_string(values.size()) + "]{";
    for (size_t i = 0; i < values.size(); ++i)
        text += (i > 0 ? ", " : "") + toString(values[i]);
    return text + "}";
}

}  // namespace android::hardware
