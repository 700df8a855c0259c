/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

namespace orva::hidl {

// A tree of named values as text: one line of JSON, or, for people, a line for each object and
// list, indented, with the names before the plain values. Used by one thread at a time.
class DumpText {
public:
    explicit DumpText(bool json) : json_(json) {}

    // Begins an object ('{') or a list ('['); the name of what is in a list is "".
    DumpText& Open(const char* name, char bracket);
    DumpText& Close();
    // Plain values, of an object before those of its members that are objects or lists. A text may
    // be a client's; what could be taken for something else, or does something to a terminal, is
    // escaped, and bytes beyond ASCII are shown as "?".
    DumpText& Add(const char* name, const std::string& text);
    DumpText& Add(const char* name, const char* text) { return Add(name, std::string(text)); }
    DumpText& Add(const char* name, uint64_t number);
    DumpText& AddSigned(const char* name, int64_t number);
    DumpText& AddSeconds(const char* name, int64_t nanoseconds);

    const std::string& Text() const { return text_; }

private:
    void Begin(const char* name);

    const bool json_;
    std::string text_;
    std::string closing_;  // the brackets that are to come, innermost last
};

}  // namespace orva::hidl
