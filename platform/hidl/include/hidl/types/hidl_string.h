/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <hidl/HidlInternal.h>

namespace android::hardware {

/** A NUL-terminated string, 16 bytes with a pointer first: the layout crosses processes as it is.
 */
class hidl_string {
public:
    hidl_string() = default;
    hidl_string(const char* text);  // a null pointer makes an empty string
    hidl_string(const std::string& text) { copyFrom(text.c_str(), text.size()); }
    hidl_string(const hidl_string& other) { copyFrom(other.c_str(), other.size()); }
    hidl_string(hidl_string&& other) noexcept { swap(other); }
    hidl_string& operator=(hidl_string other) noexcept {
        swap(other);
        return *this;
    }
    ~hidl_string() {
        if (mOwnsBuffer)
            delete[] mBuffer;
    }

    operator std::string() const { return {c_str(), size()}; }

    const char* c_str() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }

    /** Refers to text that the caller owns; text[length] must be NUL. */
    void setToExternal(const char* text, size_t length);

    // By strcmp, as on a device: whatever stands behind a NUL is not looked at.
    friend bool operator==(const hidl_string& left, const hidl_string& right) {
        return left.compare(right) == 0;
    }
    friend bool operator!=(const hidl_string& left, const hidl_string& right) {
        return left.compare(right) != 0;
    }
    friend bool operator<(const hidl_string& left, const hidl_string& right) {
        return left.compare(right) < 0;
    }

private:
    friend struct details::ReceivedFields;

    int compare(const hidl_string& other) const;
    static uint32_t checkedSize(size_t length);
    void copyFrom(const char* text, size_t length);
    void swap(hidl_string& other) noexcept;

    details::hidl_pointer<const char> mBuffer = "";
    uint32_t mSize = 0;
    bool mOwnsBuffer = false;
    uint8_t mPad[3] = {};
};
static_assert(sizeof(hidl_string) == 16, "wrong size");

}  // namespace android::hardware
