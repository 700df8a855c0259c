/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ServiceActivity.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "common/ClientProcess.h"

namespace orva::hidl {

namespace {

constexpr size_t kMostKept = 256;
constexpr size_t kLongestKept = 256;  // of texts that clients have a part in

}  // namespace

int32_t ServiceActivity::Refuse(const LogSource& source, int32_t status, const std::string& client,
                                const char* format, ...) {
    // Longer than any line that the log takes.
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    ORVA_LOG_FROM(source, source.priority, tag_, "%s", text);
    Keep(source, status, client, std::string(text, strnlen(text, kLongestKept)));
    return status;
}

int32_t ServiceActivity::Refuse(const LogSource& source, int32_t status,
                                const std::string& client) {
    Keep(source, status, client, "");
    return status;
}

std::deque<RefusedCall> ServiceActivity::LatestRefusals() const {
    const MutexLock lock(mutex_);
    return latest_;
}

void ServiceActivity::Show(const SessionRecord* session) {
    const MutexLock lock(mutex_);
    sessions_.insert(session);
}

void ServiceActivity::Hide(const SessionRecord* session) {
    const MutexLock lock(mutex_);
    sessions_.erase(session);
}

void ServiceActivity::Keep(const LogSource& source, int32_t status, const std::string& client,
                           std::string text) {
    ++refusals_;
    const auto pid = static_cast<int32_t>(std::strtol(client.c_str(), nullptr, 10));
    RefusedCall call = {MonotonicNow(),  client, ProgramOf(pid),
                        source.function, status, std::move(text)};
    const MutexLock lock(mutex_);
    latest_.push_back(std::move(call));
    if (latest_.size() > kMostKept) {
        latest_.pop_front();
    }
}

}  // namespace orva::hidl
