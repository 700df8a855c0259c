/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ServiceActivity.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace orva::hidl {

namespace {

constexpr size_t kMostKept = 256;
constexpr size_t kLongestKept = 256;  // of texts that clients have a part in

}  // namespace

int32_t ServiceActivity::Refuse(const LogSource& source, Refusal reason, int32_t status,
                                const std::string& client, const char* format, ...) {
    // Longer than any line that the log takes.
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const int priority = reason == Refusal::kSessionLimit ? ANDROID_LOG_INFO : ANDROID_LOG_ERROR;
    ORVA_LOG_FROM(source, priority, tag_, "%s", text);
    Keep({MonotonicNow(), reason, client, source.function, status,
          std::string(text, strnlen(text, kLongestKept))});
    return status;
}

int32_t ServiceActivity::Refuse(const LogSource& source, Refusal reason, int32_t status,
                                const std::string& client) {
    Keep({MonotonicNow(), reason, client, source.function, status, ""});
    return status;
}

std::deque<RefusedCall> ServiceActivity::LatestRefusals() const {
    const MutexLock lock(mutex_);
    return latest_;
}

void ServiceActivity::Keep(RefusedCall call) {
    refusals_[static_cast<size_t>(call.reason)].fetch_add(1, std::memory_order_relaxed);
    const MutexLock lock(mutex_);
    latest_.push_back(std::move(call));
    if (latest_.size() > kMostKept) {
        latest_.pop_front();
    }
}

}  // namespace orva::hidl
