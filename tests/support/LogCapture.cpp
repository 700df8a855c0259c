/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <regex>

namespace orva::test {

namespace {

struct RawLine {
    int priority;
    std::string tag;
    std::string text;
};

struct Sink {
    std::mutex mutex;
    std::vector<RawLine> lines;
};

Sink& GetSink() {
    static auto* const sink = new Sink;  // for lines that are logged at exit
    return *sink;
}

std::atomic<bool> capturing{false};

LogLine Parse(RawLine raw) {
    static const std::regex form("([A-Za-z_]\\w*)\\(\\d+\\)::\"([^]*)\"");
    std::smatch match;
    if (!std::regex_match(raw.text, match, form)) {
        return {raw.priority, std::move(raw.tag), "", std::move(raw.text)};
    }
    return {raw.priority, std::move(raw.tag), match[1], match[2]};
}

}  // namespace

bool operator==(const LogLine& left, const LogLine& right) {
    return left.priority == right.priority && left.tag == right.tag &&
           left.function == right.function && left.message == right.message;
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.priority << "/" << line.tag << " " << line.function << ": " << line.message;
}

LogCapture::LogCapture() {
    Take();
    capturing = true;
}

LogCapture::~LogCapture() {
    capturing = false;
}

std::vector<LogLine> LogCapture::Take() {
    return Take(ANDROID_LOG_VERBOSE);
}

std::vector<LogLine> LogCapture::Take(int priority) {
    std::vector<RawLine> raw;
    {
        std::lock_guard<std::mutex> lock(GetSink().mutex);
        raw.swap(GetSink().lines);
    }
    std::vector<LogLine> lines;
    for (RawLine& line : raw) {
        if (line.priority >= priority) {
            lines.push_back(Parse(std::move(line)));
        }
    }
    return lines;
}

}  // namespace orva::test

// Stands in for the log library's own, for this program and the libraries that it loads.
extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(vsnprintf(nullptr, 0, fmt, arguments)), '\0');
    vsnprintf(text.data(), text.size() + 1, fmt, again);
    va_end(again);
    va_end(arguments);

    if (!orva::test::capturing) {
        return __android_log_write(prio, tag, text.c_str());
    }
    auto& sink = orva::test::GetSink();
    std::lock_guard<std::mutex> lock(sink.mutex);
    sink.lines.push_back({prio, tag, std::move(text)});
    return 1;
}
