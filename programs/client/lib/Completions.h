/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <utils/Condition.h>
#include <utils/Mutex.h>
#include <vendor/selkat/hardware/ai/2.0/IAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/IModelManagerListener.h>

#include "client/lib/Tensor.h"

namespace orva::client {

// One result as it arrived.
struct Completion {
    int32_t result;  // 0 for success, otherwise the framework's code
    std::string context;
    std::vector<Tensor> outputs;
    std::string fault;  // why this process could not take the outputs; empty when it could
};

// Has whoever awaits a result serve the calls of services meanwhile, which saves a switch from a
// thread of the pool's to the one that waits. For a process that awaits on one thread, and before
// it asks for a service; false when it is too late.
bool serveWhileAwaiting();

// Results that are kept until they are asked for. Every operation may be called from any thread.
class CompletionQueue {
public:
    static constexpr std::chrono::milliseconds kForEver = std::chrono::hours(24 * 365 * 100);

    // The next result; empty when none has come within `limit`, or none will.
    std::optional<Completion> await(std::chrono::milliseconds limit);
    void add(int32_t result, const android::hardware::hidl_string& context,
             const android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::AITensorHandle>&
                     outputs);
    // Nothing more will come: whoever waits need not.
    void end();
    bool hasEnded();

private:
    android::Mutex lock_;
    android::Condition arrived_;
    std::deque<Completion> waiting_ GUARDED_BY(lock_);
    bool ended_ GUARDED_BY(lock_) = false;
};

// What a client gives a service to hear of its results.
template <typename Listener>
class CompletionsOf : public Listener, public CompletionQueue {
public:
    android::hardware::Return<void> OnProcessDone(
            int32_t result, const android::hardware::hidl_string& context,
            const android::hardware::hidl_vec<vendor::selkat::hardware::ai::V2_0::AITensorHandle>&
                    outputs) override {
        add(result, context, outputs);
        return android::hardware::Void();
    }
};

using Completions = CompletionsOf<vendor::selkat::hardware::ai::V2_0::IAIServiceListener>;
using ManagerCompletions = CompletionsOf<vendor::selkat::hardware::ai::V2_0::IModelManagerListener>;

}  // namespace orva::client
