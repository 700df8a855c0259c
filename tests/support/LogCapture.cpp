/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/LogCapture.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace orva::test {

namespace {

std::mutex linesMutex;
auto* const lines = new std::vector<LogLine>;  // for those that are logged at exit, too

std::atomic<bool> capturing{false};
constexpr char kNoted[] = "(noted)";

// The product's form: FUNCTION(LINE)::"MESSAGE"
LogLine Parse(int priority, const char* tag, const std::string& text) {
    const size_t parenthesis = text.find('('), quote = text.find(")::\"");
    if (parenthesis > quote || quote == std::string::npos || text.back() != '"') {
        return {priority, tag, "", text};
    }
    return {priority, tag, text.substr(0, parenthesis),
            text.substr(quote + 4, text.size() - quote - 5)};
}

}  // namespace

LogCapture::LogCapture() {
    Take();
    capturing = true;
}

LogCapture::~LogCapture() {
    capturing = false;
}

std::vector<LogLine> LogCapture::Take(int priority) {
    const std::lock_guard<std::mutex> lock(linesMutex);
    std::vector<LogLine> taken;
    for (LogLine& line : std::exchange(*lines, {})) {
        if (line.priority >= priority) {
            taken.push_back(std::move(line));
        }
    }
    return taken;
}

std::string LogCapture::Story(const std::string& expectedTag, int priority) {
    std::string story;
    for (const LogLine& line : Take(priority)) {
        if (line.tag != kNoted) {
            story += std::string(1, "--VDIWEFS"[line.priority]) + " ";
            story += line.tag == expectedTag ? "" : line.tag + " ";
            story += line.function.empty() ? "" : line.function + ": ";
        }
        story += line.message + "\n";
    }
    return story;
}

void Note(const std::string& call) {
    if (capturing) {
        const std::lock_guard<std::mutex> lock(linesMutex);
        lines->push_back({ANDROID_LOG_VERBOSE, kNoted, "", call});
    }
}

}  // namespace orva::test

// Stands in for the log library's own, for this program and the libraries that it loads.
extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    char* text = nullptr;
    (void)!vasprintf(&text, fmt, arguments);
    va_end(arguments);
    const std::unique_ptr<char, void (*)(void*)> owner(text, free);
    if (!orva::test::capturing) {
        return __android_log_write(prio, tag, text);
    }
    const std::lock_guard<std::mutex> lock(orva::test::linesMutex);
    orva::test::lines->push_back(orva::test::Parse(prio, tag, text));
    return 1;
}
