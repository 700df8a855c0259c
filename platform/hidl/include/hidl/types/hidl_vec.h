/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
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
    template <typename Iterator,
              typename = typename std::iterator_traits<Iterator>::iterator_category>
    hidl_vec(Iterator first, Iterator last) {
        copyFrom(first, static_cast<size_t>(std::distance(first, last)));
    }
    hidl_vec(const hidl_vec& other) { copyFrom(other.begin(), other.size()); }
    hidl_vec(hidl_vec&& other) noexcept { moveFrom(std::move(other)); }
    ~hidl_vec() { release(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) {
            release();
            copyFrom(other.begin(), other.size());
        }
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this != &other) {
            release();
            moveFrom(std::move(other));
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& values) {
        release();
        copyFrom(values.begin(), values.size());
        return *this;
    }
    hidl_vec& operator=(std::initializer_list<T> values) {
        release();
        copyFrom(values.begin(), values.size());
        return *this;
    }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    /** Refers to an array that the caller owns, or adopts one made with new[]. */
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        checkSize(size);
        release();
        mBuffer = data;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = shouldOwn;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }

    size_t size() const { return mSize; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }

    /** Keeps the first elements; new ones are value-initialised. */
    void resize(size_t size) {
        checkSize(size);
        T* grown = size > 0 ? new T[size]() : nullptr;
        const size_t kept = std::min<size_t>(size, mSize);
        for (size_t i = 0; i < kept; ++i) {
            // What is only referred to belongs to somebody else and must stay as it is.
            if (mOwnsBuffer) {
                grown[i] = std::move(mBuffer[i]);
            } else {
                grown[i] = mBuffer[i];
            }
        }
        release();
        mBuffer = grown;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }

    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }

    bool operator==(const hidl_vec& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

    static constexpr size_t kOffsetOfBuffer = 0;

private:
    friend struct details::ReceivedFields;

    static void checkSize(size_t size) {
        if (size > UINT32_MAX)
            details::logAlwaysFatal("hidl_vec: more than 2^32 - 1 elements");
    }

    template <typename Iterator>
    void copyFrom(Iterator first, size_t size) {
        checkSize(size);
        mBuffer = size > 0 ? new T[size] : nullptr;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
        std::copy_n(first, size, data());
    }

    void moveFrom(hidl_vec&& other) noexcept {
        mBuffer = std::exchange(other.mBuffer, nullptr);
        mSize = std::exchange(other.mSize, 0);
        mOwnsBuffer = std::exchange(other.mOwnsBuffer, true);
    }

    void release() {
        if (mOwnsBuffer)
            delete[] data();
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
    }

    details::hidl_pointer<T> mBuffer;
    uint32_t mSize = 0;
    bool mOwnsBuffer = true;
    uint8_t mPad[3] = {};
};
static_assert(sizeof(hidl_vec<char>) == 16, "wrong size");

}  // namespace android::hardware
