/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace android::hardware {

/** A fixed array of one or more dimensions, laid out as the C array of the same sizes. */
template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array {
    hidl_array<T, SIZES...>& operator[](size_t index) { return mBuffer[index]; }
    const hidl_array<T, SIZES...>& operator[](size_t index) const { return mBuffer[index]; }

    T* data() { return mBuffer[0].data(); }
    const T* data() const { return mBuffer[0].data(); }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + SIZE1, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    hidl_array<T, SIZES...> mBuffer[SIZE1];
};

template <typename T, size_t SIZE>
struct hidl_array<T, SIZE> {
    hidl_array() = default;
    /** Copies SIZE elements. */
    hidl_array(const T* source) { std::copy_n(source, SIZE, mBuffer); }
    hidl_array(const std::array<T, SIZE>& source) : hidl_array(source.data()) {}

    hidl_array& operator=(const T* source) {
        std::copy_n(source, SIZE, mBuffer);
        return *this;
    }
    operator std::array<T, SIZE>() const {
        std::array<T, SIZE> copy;
        std::copy_n(mBuffer, SIZE, copy.begin());
        return copy;
    }

    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    constexpr size_t size() const { return SIZE; }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + SIZE, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    T mBuffer[SIZE] = {};
};

}  // namespace android::hardware
