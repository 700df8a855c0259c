/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "LatestErrors.h"

namespace orva::host {

namespace {

constexpr size_t kMostProcesses = 256;
constexpr size_t kMostEach = 8;
constexpr size_t kLongest = 1024;

// The framework logs where it was, and in quotation marks what.
std::string withoutPlace(const std::string& message) {
    constexpr char kMark[] = "::\"";
    const size_t mark = message.find(kMark);
    if (mark == std::string::npos || message.back() != '"') {
        return message;
    }
    const size_t begin = mark + sizeof kMark - 1;
    return begin < message.size() ? message.substr(begin, message.size() - begin - 1) : "";
}

}  // namespace

void LatestErrors::note(pid_t client, const std::string& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (errors_.size() >= kMostProcesses && errors_.count(client) == 0) {
        return;  // Who is there already keeps its own.
    }
    std::deque<std::string>& errors = errors_[client];
    errors.push_back(withoutPlace(message).substr(0, kLongest));
    if (errors.size() > kMostEach) {
        errors.pop_front();
    }
}

void LatestErrors::forget(pid_t client) {
    const std::lock_guard<std::mutex> lock(mutex_);
    errors_.erase(client);
}

std::deque<std::string> LatestErrors::of(pid_t client) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = errors_.find(client);
    return found != errors_.end() ? found->second : std::deque<std::string>();
}

}  // namespace orva::host
