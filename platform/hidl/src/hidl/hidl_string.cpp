/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/types/hidl_string.h>

#include <cstring>
#include <ostream>

namespace android::hardware {

const char hidl_string::kEmpty[1] = "";

hidl_string::hidl_string(const char* text)
        : hidl_string(text, text == nullptr ? 0 : strlen(text)) {}

hidl_string::hidl_string(const char* text, size_t length) {
    copyFrom(text, length);
}

hidl_string::hidl_string(const std::string& text) : hidl_string(text.c_str(), text.size()) {}

hidl_string::hidl_string(const hidl_string& other) : hidl_string(other.c_str(), other.size()) {}

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other)
        *this = hidl_string(other);
    return *this;
}

// Both go by a copy, since the text may be part of this very string.
hidl_string& hidl_string::operator=(const char* text) {
    return *this = hidl_string(text);
}

hidl_string& hidl_string::operator=(const std::string& text) {
    return *this = hidl_string(text);
}

void hidl_string::freeOwned() {
    delete[] mBuffer;
}

void hidl_string::setToExternal(const char* text, size_t length) {
    if (length > UINT32_MAX)
        details::logAlwaysFatal("hidl_string: more than 2^32 - 1 bytes");
    if (text[length] != '\0')
        details::logAlwaysFatal("hidl_string: external text has no end");
    clear();
    mBuffer = text;
    mSize = static_cast<uint32_t>(length);
}

void hidl_string::copyFrom(const char* text, size_t length) {
    if (length >= UINT32_MAX)
        details::logAlwaysFatal("hidl_string: more than 2^32 - 2 bytes");
    if (length == 0) {
        mBuffer = kEmpty;
        return;
    }
    char* copy = new char[length + 1];
    memcpy(copy, text, length);
    copy[length] = '\0';
    mBuffer = copy;
    mSize = static_cast<uint32_t>(length);
    mOwnsBuffer = true;
}

std::ostream& operator<<(std::ostream& out, const hidl_string& text) {
    return out << text.c_str();
}

}  // namespace android::hardware
