/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <android/log.h>

#include <string>
#include <vector>

namespace orva::test {

struct LogLine {
    int priority;
    std::string tag;
    std::string function;  // empty when the line does not have the product's form
    std::string message;   // without function, source line and quotes; else the whole text
};

// While it lives, the log lines of this process are kept here, those of libraries that were
// loaded later, too, if the program exports its symbols, and with them the calls that a test notes.
// One at a time; any thread may log.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Takes out what has been logged so far; of that, only what is of a level or worse.
    std::vector<LogLine> Take(int priority = ANDROID_LOG_VERBOSE);
    // The same as a text of lines, "LEVEL FUNCTION: MESSAGE", where one of another tag than the
    // expected one has it in front: "E ORVA Init: no memory". A call is the line that was noted.
    std::string Story(const std::string& expectedTag, int priority = ANDROID_LOG_VERBOSE);
};

// Puts a call among the lines that are captured, if any are; its level is VERBOSE.
void Note(const std::string& call);

}  // namespace orva::test
