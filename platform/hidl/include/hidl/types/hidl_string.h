/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

#include <hidl/HidlInternal.h>

namespace android::hardware {

/** A NUL-terminated string, 16 bytes with a pointer first: the layout crosses processes as it is.
 */
class hidl_string {
public:
    hidl_string() = default;
    hidl_string(const char* text);  // a null pointer makes an empty string
    hidl_string(const char* text, size_t length);
    hidl_string(const std::string& text);
    hidl_string(const hidl_string& other);
    hidl_string(hidl_string&& other) noexcept { moveFrom(other); }
    ~hidl_string() { clear(); }

    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(hidl_string&& other) noexcept {
        if (this != &other) {
            clear();
            moveFrom(other);
        }
        return *this;
    }
    hidl_string& operator=(const char* text);
    hidl_string& operator=(const std::string& text);

    operator std::string() const { return {c_str(), size()}; }

    const char* c_str() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    void clear() {
        if (mOwnsBuffer)
            freeOwned();
        mBuffer = kEmpty;
        mSize = 0;
        mOwnsBuffer = false;
    }

    /** Refers to text that the caller owns; text[length] must be NUL. */
    void setToExternal(const char* text, size_t length);

    static constexpr size_t kOffsetOfBuffer = 0;

private:
    friend struct details::ReceivedFields;

    void copyFrom(const char* text, size_t length);
    void freeOwned();
    void moveFrom(hidl_string& other) noexcept {
        mBuffer = std::exchange(other.mBuffer, kEmpty);
        mSize = std::exchange(other.mSize, 0);
        mOwnsBuffer = std::exchange(other.mOwnsBuffer, false);
    }

    static const char kEmpty[1];

    details::hidl_pointer<const char> mBuffer = kEmpty;
    uint32_t mSize = 0;
    bool mOwnsBuffer = false;
    uint8_t mPad[3] = {};
};
static_assert(sizeof(hidl_string) == 16, "wrong size");

std::ostream& operator<<(std::ostream& out, const hidl_string& text);

namespace details {

inline const char* charsOf(const hidl_string& text) {
    return text.c_str();
}
inline const char* charsOf(const std::string& text) {
    return text.c_str();
}
inline const char* charsOf(const char* text) {
    return text;
}

template <typename L, typename R>
using IfAnyIsHidlString =
        std::enable_if_t<(std::is_same_v<L, hidl_string> &&
                          (std::is_same_v<R, hidl_string> || std::is_same_v<R, std::string> ||
                           std::is_convertible_v<R, const char*>)) ||
                         (std::is_same_v<R, hidl_string> &&
                          (std::is_same_v<L, std::string> ||
                           std::is_convertible_v<L, const char*>))>;

}  // namespace details

// Comparisons are by strcmp, as on a device: whatever stands behind a NUL is not looked at.

template <typename L, typename R, typename = details::IfAnyIsHidlString<L, R>>
bool operator==(const L& left, const R& right) {
    return strcmp(details::charsOf(left), details::charsOf(right)) == 0;
}
template <typename L, typename R, typename = details::IfAnyIsHidlString<L, R>>
bool operator!=(const L& left, const R& right) {
    return strcmp(details::charsOf(left), details::charsOf(right)) != 0;
}
template <typename L, typename R, typename = details::IfAnyIsHidlString<L, R>>
bool operator<(const L& left, const R& right) {
    return strcmp(details::charsOf(left), details::charsOf(right)) < 0;
}

}  // namespace android::hardware
