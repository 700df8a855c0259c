/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include <hidl/HidlInternal.h>

namespace android::hardware {

/** A sequence of T, 16 bytes with a pointer first: the layout crosses processes as it is. */
template <typename T>
class hidl_vec {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    hidl_vec() = default;
    hidl_vec(std::initializer_list<T> values) { copyFrom(values.begin(), values.size()); }
    hidl_vec(const std::vector<T>& values) { copyFrom(values.begin(), values.size()); }
    hidl_vec(const hidl_vec& other) { copyFrom(other.begin(), other.size()); }
    hidl_vec(hidl_vec&& other) noexcept { swap(other); }
    hidl_vec& operator=(hidl_vec other) noexcept {
        swap(other);
        return *this;
    }
    ~hidl_vec() {
        if (mOwnsBuffer)
            delete[] data();
    }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    /** Refers to an array that the caller owns. */
    void setToExternal(T* data, size_t size) {
        hidl_vec external;
        external.mBuffer = data;
        external.mSize = checkedSize(size);
        external.mOwnsBuffer = false;
        swap(external);
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }

    size_t size() const { return mSize; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }

    /** Keeps the first elements; new ones are value-initialised. */
    void resize(size_t size) {
        hidl_vec resized;
        resized.allocate(size);
        std::copy_n(begin(), std::min(size, this->size()), resized.begin());
        swap(resized);
    }

    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }

    bool operator==(const hidl_vec& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

private:
    friend struct details::ReceivedFields;

    static uint32_t checkedSize(size_t size) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec: more than 2^32 - 1 elements");
        return static_cast<uint32_t>(size);
    }

    void allocate(size_t size) {
        mSize = checkedSize(size);
        mBuffer = size > 0 ? new T[size]() : nullptr;
    }

    template <typename Iterator>
    void copyFrom(Iterator first, size_t size) {
        allocate(size);
        std::copy_n(first, size, data());
    }

    void swap(hidl_vec& other) noexcept {
        std::swap(mBuffer, other.mBuffer);
        std::swap(mSize, other.mSize);
        std::swap(mOwnsBuffer, other.mOwnsBuffer);
    }

    details::hidl_pointer<T> mBuffer;
    uint32_t mSize = 0;
    bool mOwnsBuffer = true;
    uint8_t mPad[3] = {};
};
static_assert(sizeof(hidl_vec<char>) == 16, "wrong size");

}  // namespace android::hardware
