/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "LogWriter.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

#include <android/log.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orva::host {

namespace {

constexpr char kTag[] = "orva-host";
// Processes that are kept in mind; who comes back after so many others begins anew.
constexpr size_t kMostProcesses = 1024;

std::string timeText() {
    const time_t now = time(nullptr);
    tm parts;
    localtime_r(&now, &parts);
    char text[32];
    strftime(text, sizeof text, "%m-%d %H:%M:%S", &parts);
    return text;
}

}  // namespace

std::string escaped(const char* text) {
    std::string result;
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte >= 0x20 && byte < 0x7f) {
            result += *text;
        } else if (byte == '\n' || byte == '\t') {
            result += byte == '\n' ? "\\n" : "\\t";
        } else {
            char code[8];
            snprintf(code, sizeof code, "\\x%02x", byte);
            result += code;
        }
    }
    return result;
}

void LogWriter::write(pid_t client, int priority, const char* tag, const char* message) {
    size_t leftOut = 0;
    const Turn turn = client == 0 || linesEach_ == 0 ? Turn::kWrite : take(client, &leftOut);
    if (leftOut != 0) {
        putLeftOut(client, leftOut);
    }
    if (turn == Turn::kWrite) {
        put(priority, escaped(tag != nullptr ? tag : ""), escaped(message));
    } else if (turn == Turn::kLeaveOutFirst) {
        put(ANDROID_LOG_WARN, kTag,
            "process " + std::to_string(client) +
                    " causes more lines than it may (--log-limit); they are left out");
    }
}

void LogWriter::forget(pid_t client) {
    size_t leftOut = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = allowances_.find(client);
        if (found == allowances_.end()) {
            return;
        }
        leftOut = found->second.leftOut;
        allowances_.erase(found);
    }
    if (leftOut != 0) {
        putLeftOut(client, leftOut);
    }
}

LogWriter::Turn LogWriter::take(pid_t client, size_t* leftOut) {
    const auto most = static_cast<double>(linesEach_);
    const Clock::time_point now = now_();
    const std::lock_guard<std::mutex> lock(mutex_);
    auto found = allowances_.find(client);
    if (found == allowances_.end()) {
        if (allowances_.size() == kMostProcesses) {
            allowances_.erase(std::min_element(allowances_.begin(), allowances_.end(),
                                               [](const auto& left, const auto& right) {
                                                   return left.second.counted <
                                                          right.second.counted;
                                               }));
        }
        found = allowances_.emplace(client, Allowance{most, now, 0}).first;
    }
    Allowance& allowance = found->second;
    const std::chrono::duration<double, std::ratio<60>> minutes = now - allowance.counted;
    allowance.lines = std::min(most, allowance.lines + most * minutes.count());
    allowance.counted = now;
    // Once lines are left out it takes some seconds, so that the notes do not become the flood.
    if (allowance.lines >= (allowance.leftOut == 0 ? 1 : std::max(1.0, most / 10))) {
        allowance.lines -= 1;
        *leftOut = std::exchange(allowance.leftOut, 0);
        return Turn::kWrite;
    }
    return allowance.leftOut++ == 0 ? Turn::kLeaveOutFirst : Turn::kLeaveOut;
}

void LogWriter::put(int priority, const std::string& tag, const std::string& message) const {
    constexpr char kLevels[] = "??VDIWEFS";
    const char level = priority > 0 && priority < 9 ? kLevels[priority] : '?';
    char where[64];
    snprintf(where, sizeof where, "%5d %5ld", getpid(), syscall(SYS_gettid));
    const std::string line =
            tag + ' ' + level + ' ' + timeText() + ' ' + where + ' ' + message + '\n';
    if (::write(file_, line.data(), line.size()) < 0) {
        // There is nobody to tell.
    }
}

void LogWriter::putLeftOut(pid_t client, size_t count) const {
    put(ANDROID_LOG_WARN, kTag,
        std::to_string(count) + " lines that process " + std::to_string(client) +
                " caused were left out");
}

}  // namespace orva::host
