/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Completions.h"

#include <atomic>
#include <climits>
#include <exception>

#include <hidl/HidlTransportSupport.h>
#include <poll.h>

namespace orva::client {

using android::Mutex;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<int> polled{-1};

// Serves a call, or none when none comes in time.
void serveOne(std::chrono::nanoseconds limit) {
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(limit).count();
    pollfd calls = {polled, POLLIN, 0};
    if (milliseconds >= INT_MAX || poll(&calls, 1, static_cast<int>(milliseconds)) > 0) {
        android::hardware::handleTransportPoll(polled);
    }
}

}  // namespace

bool serveWhileAwaiting() {
    polled = android::hardware::setupTransportPolling();
    return polled >= 0;
}

std::optional<Completion> CompletionQueue::await(std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    const Mutex::Autolock lock(lock_);
    while (!ended_ && waiting_.empty()) {
        const std::chrono::nanoseconds left = deadline - Clock::now();
        if (left.count() <= 0) {
            break;
        }
        if (polled < 0) {
            arrived_.waitRelative(lock_, left.count());
        } else {
            lock_.unlock();
            serveOne(left);
            lock_.lock();
        }
    }
    if (waiting_.empty()) {
        return std::nullopt;
    }
    Completion next = std::move(waiting_.front());
    waiting_.pop_front();
    return next;
}

void CompletionQueue::add(int32_t result, const hidl_string& context,
                          const hidl_vec<AITensorHandle>& outputs) {
    Completion completion = {result, context, {}, ""};
    try {
        for (const AITensorHandle& output : outputs) {
            completion.outputs.emplace_back(output);
        }
    } catch (const std::exception& error) {
        completion.outputs.clear();
        completion.fault = error.what();
    }
    const Mutex::Autolock lock(lock_);
    waiting_.push_back(std::move(completion));
    arrived_.signal();
}

void CompletionQueue::end() {
    const Mutex::Autolock lock(lock_);
    ended_ = true;
    arrived_.broadcast();
}

bool CompletionQueue::hasEnded() {
    const Mutex::Autolock lock(lock_);
    return ended_;
}

}  // namespace orva::client
