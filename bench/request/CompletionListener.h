/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <semaphore.h>

#include <cerrno>
#include <optional>

#include <hidl/HidlTransportSupport.h>

#include "Payload.h"
#include "common/Interfaces.h"

namespace orva_bench {

// Where a client's completions arrive, by either service's listener interface. Made and called on
// any thread, awaited on one, which serves them itself if it has a descriptor to poll.
template <class Listener>
class CompletionListener : public Listener {
public:
    explicit CompletionListener(std::optional<int> polled) : polled_(polled) {
        sem_init(&completed_, 0, 0);
    }
    ~CompletionListener() override { sem_destroy(&completed_); }

    android::hardware::Return<void> OnProcessDone(
            int32_t result, const android::hardware::hidl_string&,
            const android::hardware::hidl_vec<orva::hidl::AITensorHandle>& outputs) override {
        ok_ = result == 0 && outputs.size() == 1 && outputs[0].data.size() == kOutputSize;
        sem_post(&completed_);
        return android::hardware::Void();
    }

    // Whether the next completion is as it should be.
    bool await() {
        while (polled_ && sem_trywait(&completed_) != 0) {
            if (android::hardware::handleTransportPoll(*polled_) != android::OK) {
                return false;
            }
        }
        while (!polled_ && sem_wait(&completed_) != 0 && errno == EINTR) {
        }
        return ok_;
    }

private:
    const std::optional<int> polled_;
    sem_t completed_;
    bool ok_ = false;  // handed over by the semaphore
};

}  // namespace orva_bench
