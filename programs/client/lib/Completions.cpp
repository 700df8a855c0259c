/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/Completions.h"

#include <exception>

namespace orva::client {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

namespace {

// Stands for a result whose tensors this process could not take.
constexpr int32_t kOutputsLost = -1;

}  // namespace

std::optional<Completion> Completions::await(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mLock);
    mArrived.wait_for(lock, limit, [this] { return mEnded || !mWaiting.empty(); });
    if (mWaiting.empty()) {
        return std::nullopt;
    }
    Completion next = std::move(mWaiting.front());
    mWaiting.pop_front();
    return next;
}

void Completions::end() {
    const std::lock_guard<std::mutex> lock(mLock);
    mEnded = true;
    mArrived.notify_all();
}

Return<void> Completions::OnProcessDone(int32_t result, const hidl_string& context,
                                        const hidl_vec<AITensorHandle>& outputs) {
    Completion completion = {result, context, {}};
    try {
        for (const AITensorHandle& output : outputs) {
            completion.outputs.emplace_back(output);
        }
    } catch (const std::exception& error) {
        completion.result = kOutputsLost;
        completion.context = error.what();
    }
    const std::lock_guard<std::mutex> lock(mLock);
    mWaiting.push_back(std::move(completion));
    mArrived.notify_one();
    return Void();
}

}  // namespace orva::client
