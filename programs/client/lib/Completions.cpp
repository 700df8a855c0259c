/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Completions.h"

#include <exception>

namespace orva::client {

using android::Mutex;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

std::optional<Completion> CompletionQueue::await(std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    const Mutex::Autolock lock(lock_);
    while (!ended_ && waiting_.empty()) {
        const auto left = std::chrono::nanoseconds(deadline - Clock::now()).count();
        if (left <= 0) {
            break;
        }
        arrived_.waitRelative(lock_, left);
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
