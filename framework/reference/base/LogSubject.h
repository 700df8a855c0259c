/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <utility>

namespace orva::reference {

// Whom the framework's lines in the log speak of: while one of these lives, those of its thread
// begin with that. Empty for nobody.
class LogSubject {
public:
    explicit LogSubject(std::string who)
            : outer_(std::exchange(current, who.empty() ? std::move(who) : who + ": ")) {}
    ~LogSubject() { current.swap(outer_); }
    LogSubject(const LogSubject&) = delete;
    LogSubject& operator=(const LogSubject&) = delete;

    // What lines begin with now.
    static const std::string& Current() { return current; }

private:
    static inline thread_local std::string current;
    std::string outer_;
};

}  // namespace orva::reference
