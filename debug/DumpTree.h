/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orva::hidl {

// A tree of named values, built once and written in either form. Used by one thread at a time.
class DumpTree {
public:
    static DumpTree Object() { return DumpTree('{'); }
    // Members that are 0 are left out of the lines.
    static DumpTree Counts() { return DumpTree('#'); }
    static DumpTree List() { return DumpTree('['); }

    // Members of an object, or of counts, in the order in which they are added. A text may be a
    // client's; what could be taken for something else, or does something to a terminal, is
    // escaped, and bytes beyond ASCII are shown as "?".
    DumpTree& Add(const char* name, const std::string& text);
    DumpTree& Add(const char* name, uint64_t number);
    DumpTree& AddSigned(const char* name, int64_t number);
    DumpTree& AddSeconds(const char* name, int64_t nanoseconds);
    DumpTree& Add(const char* name, std::optional<bool> flag);  // nothing: not known
    DumpTree& Add(const char* name, DumpTree tree);
    // Items of a list.
    DumpTree& Add(DumpTree tree) { return Add("", std::move(tree)); }

    // One line of JSON, without its end.
    std::string Json() const;
    // For people: what an object has of plain values on one line, what it has of objects and lists
    // below, indented.
    std::string Lines(size_t indent = 0) const;

private:
    explicit DumpTree(char kind) : kind_(kind) {}
    // A plain value.
    DumpTree& AddValue(const char* name, std::string json);

    char kind_;         // '{', '#', '[', or 0 of a plain value
    std::string json_;  // of that
    std::vector<std::pair<const char*, DumpTree>> members_;
};

}  // namespace orva::hidl
