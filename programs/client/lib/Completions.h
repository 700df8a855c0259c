/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vendor/selkat/hardware/ai/2.0/IAIServiceListener.h>

#include "client/lib/Tensor.h"

namespace orva::client {

// One result as it arrived.
struct Completion {
    int32_t result;  // 0 for success, otherwise the node's code
    std::string context;
    std::vector<Tensor> outputs;
};

// A listener that keeps results until they are asked for. Every operation may be called from any
// thread.
class Completions : public vendor::selkat::hardware::ai::V2_0::IAIServiceListener {
public:
    // The next result; empty when none has come within `limit`, or the service has died.
    std::optional<Completion> await(std::chrono::milliseconds limit);
    // Nothing more will come: whoever waits need not.
    void end();

    android::hardware::Return<void> OnProcessDone(
            int32_t result, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::AITensorHandle>&
                    outputs) override;

private:
    std::mutex mLock;
    std::condition_variable mArrived;
    std::deque<Completion> mWaiting;  // Guarded by mLock, as is mEnded.
    bool mEnded = false;
};

}  // namespace orva::client
