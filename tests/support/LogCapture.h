/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <android/log.h>

#include <ostream>
#include <string>
#include <vector>

namespace orva::test {

struct LogLine {
    int priority;
    std::string tag;
    std::string function;  // empty when the line does not have the product's form
    std::string message;   // without function, source line and quotes; else the whole text
};

bool operator==(const LogLine& left, const LogLine& right);
std::ostream& operator<<(std::ostream& out, const LogLine& line);

// While it lives, the log lines of this process are kept here, those of libraries that were
// loaded later, too, if the program exports its symbols. One at a time; any thread may log.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Takes out what has been logged so far; of that, only what is of a level or worse.
    std::vector<LogLine> Take(int priority = ANDROID_LOG_VERBOSE);
};

}  // namespace orva::test
