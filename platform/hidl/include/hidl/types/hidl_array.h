/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <cstddef>

namespace android::hardware {

/** A fixed array, laid out as the C array of the same size; no interface here has more dimensions.
 */
template <typename T, size_t SIZE>
struct hidl_array {
    hidl_array() = default;
    /** Copies SIZE elements. */
    hidl_array(const T* source) { std::copy_n(source, SIZE, mBuffer); }

    const T& operator[](size_t index) const { return mBuffer[index]; }

private:
    T mBuffer[SIZE] = {};
};

}  // namespace android::hardware
