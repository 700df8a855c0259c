/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "debug/DumpText.h"

#include <cstdarg>
#include <cstdio>

namespace orva::hidl {

void Append(std::string& text, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length > 0) {
        const size_t before = text.size();
        // One more for the end, which printf writes, too.
        text.resize(before + static_cast<size_t>(length) + 1);
        va_start(arguments, format);
        vsnprintf(&text[before], static_cast<size_t>(length) + 1, format, arguments);
        va_end(arguments);
        text.pop_back();
    }
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (each == '"' || each == '\\') {
            quoted += '\\';
            quoted += each;
        } else if (byte < 0x20 || byte == 0x7f) {
            Append(quoted, "\\u%04x", byte);
        } else {
            quoted += byte < 0x80 ? each : '?';
        }
    }
    return quoted + '"';
}

}  // namespace orva::hidl
