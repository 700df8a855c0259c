/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/DumpText.h"

#include <cstdio>

namespace orva::hidl {

DumpText& DumpText::Open(const char* name, char bracket) {
    if (json_) {
        Begin(name);
        text_ += bracket;
    } else if (!text_.empty()) {
        text_ += "\n" + std::string(2 * closing_.size(), ' ') + name;
    }
    closing_ += bracket == '{' ? '}' : ']';
    return *this;
}

DumpText& DumpText::Close() {
    if (json_) {
        text_ += closing_.back();
    }
    closing_.pop_back();
    return *this;
}

DumpText& DumpText::Add(const char* name, const std::string& text) {
    Begin(name);
    text_ += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char escape[8] = {byte < 0x80 ? c : '?'};
        if (byte < 0x20 || byte == 0x7f) {
            snprintf(escape, sizeof(escape), "\\u%04x", byte);
        } else if (c == '"' || c == '\\') {
            text_ += '\\';
        }
        text_ += escape;
    }
    text_ += '"';
    return *this;
}

DumpText& DumpText::Add(const char* name, uint64_t number) {
    Begin(name);
    text_ += std::to_string(number);
    return *this;
}

DumpText& DumpText::AddSigned(const char* name, int64_t number) {
    Begin(name);
    text_ += std::to_string(number);
    return *this;
}

DumpText& DumpText::AddSeconds(const char* name, int64_t nanoseconds) {
    char seconds[32];
    snprintf(seconds, sizeof(seconds), "%.3f", static_cast<double>(nanoseconds) / 1e9);
    Begin(name);
    text_ += seconds;
    return *this;
}

void DumpText::Begin(const char* name) {
    if (!json_) {
        const bool atStart = text_.empty() || text_.back() == '\n' || text_.back() == ' ';
        text_ += (atStart ? "" : " ") + std::string(name) + " ";
        return;
    }
    if (!text_.empty() && text_.back() != '{' && text_.back() != '[') {
        text_ += ',';
    }
    if (*name != '\0') {
        text_ += '"' + std::string(name) + "\":";
    }
}

}  // namespace orva::hidl
