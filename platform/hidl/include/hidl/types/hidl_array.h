/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace android::hardware {

/** A fixed array, laid out as the C array of the same size; no interface here has more dimensions.
 */
template <typename T, size_t SIZE>
struct hidl_array {
    hidl_array() = default;
    /** Copies SIZE elements. */
    hidl_array(const T* source) { std::copy_n(source, SIZE, mBuffer); }
    hidl_array(const std::array<T, SIZE>& source) : hidl_array(source.data()) {}

    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + SIZE, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    T mBuffer[SIZE] = {};
};

}  // namespace android::hardware
