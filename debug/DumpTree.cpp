/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/DumpTree.h"

#include <cstdio>

namespace orva::hidl {

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (each == '"' || each == '\\') {
            quoted += '\\';
            quoted += each;
        } else if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\u%04x", byte);
            quoted += escaped;
        } else {
            quoted += byte < 0x80 ? each : '?';
        }
    }
    return quoted + '"';
}

}  // namespace

DumpTree& DumpTree::AddValue(const char* name, std::string json) {
    DumpTree value(0);
    value.json_ = std::move(json);
    return Add(name, std::move(value));
}

DumpTree& DumpTree::Add(const char* name, const std::string& text) {
    return AddValue(name, Quoted(text));
}

DumpTree& DumpTree::Add(const char* name, uint64_t number) {
    return AddValue(name, std::to_string(number));
}

DumpTree& DumpTree::AddSigned(const char* name, int64_t number) {
    return AddValue(name, std::to_string(number));
}

DumpTree& DumpTree::AddSeconds(const char* name, int64_t nanoseconds) {
    char text[32];
    snprintf(text, sizeof(text), "%.3f", static_cast<double>(nanoseconds) / 1e9);
    return AddValue(name, text);
}

DumpTree& DumpTree::Add(const char* name, std::optional<bool> flag) {
    return AddValue(name, !flag ? "null" : *flag ? "true" : "false");
}

DumpTree& DumpTree::Add(const char* name, DumpTree tree) {
    members_.emplace_back(name, std::move(tree));
    return *this;
}

std::string DumpTree::Json() const {
    if (kind_ == 0) {
        return json_;
    }
    std::string text;
    for (const auto& [name, member] : members_) {
        text += text.empty() ? "" : ",";
        text += kind_ == '[' ? "" : Quoted(name) + ":";
        text += member.Json();
    }
    return kind_ == '[' ? "[" + text + "]" : "{" + text + "}";
}

std::string DumpTree::Lines(size_t indent) const {
    std::string plain, below;
    for (const auto& [name, member] : members_) {
        if (member.kind_ != 0) {
            below += std::string(indent, ' ') + name + (*name != 0 ? ":" : "");
            below += member.Lines(indent + 2);
        } else if (kind_ != '#' || member.json_ != "0") {
            plain += (plain.empty() ? "" : ", ") + std::string(name) + " " + member.json_;
        }
    }
    if (kind_ == '[') {
        plain = std::to_string(members_.size());
    }
    return (plain.empty() ? "" : " " + plain) + "\n" + below;
}

}  // namespace orva::hidl
