/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/types/hidl_string.h>

#include <cstring>
#include <utility>

namespace android::hardware {

hidl_string::hidl_string(const char* text) {
    copyFrom(text, text == nullptr ? 0 : strlen(text));
}

int hidl_string::compare(const hidl_string& other) const {
    return strcmp(mBuffer, other.mBuffer);
}

uint32_t hidl_string::checkedSize(size_t length) {
    if (length >= UINT32_MAX)
        details::logAlwaysFatal("hidl_string: more than 2^32 - 2 bytes");
    return static_cast<uint32_t>(length);
}

void hidl_string::setToExternal(const char* text, size_t length) {
    if (text[length] != '\0')
        details::logAlwaysFatal("hidl_string: external text has no end");
    hidl_string external;
    external.mBuffer = text;
    external.mSize = checkedSize(length);
    swap(external);
}

void hidl_string::copyFrom(const char* text, size_t length) {
    mSize = checkedSize(length);
    if (length == 0)
        return;
    char* copy = new char[length + 1];
    memcpy(copy, text, length);
    copy[length] = '\0';
    mBuffer = copy;
    mOwnsBuffer = true;
}

void hidl_string::swap(hidl_string& other) noexcept {
    std::swap(mBuffer, other.mBuffer);
    std::swap(mSize, other.mSize);
    std::swap(mOwnsBuffer, other.mOwnsBuffer);
}

}  // namespace android::hardware
