/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <pthread.h>

#include <atomic>

#include "common/Mutex.h"

namespace orva::hidl {

// A mutex that is held while clients are called. What a client calls in return, from inside its
// callback, is served on the very thread that holds the mutex; that thread goes on as the holder
// where it would otherwise wait for itself for ever, and all other clients with it. So what the
// mutex guards must be whole, and not looked at again, whenever its holder calls a client.
class ORVA_CAPABILITY("mutex") CallbackMutex {
public:
    void Lock() ORVA_ACQUIRE() {
        // Nobody but this thread sets, or clears, an owner that is this thread.
        if (owner_.load(std::memory_order_relaxed) == pthread_self()) {
            ++nested_;
            return;
        }
        mutex_.Lock();
        owner_.store(pthread_self(), std::memory_order_relaxed);
    }

    void Unlock() ORVA_RELEASE() {
        if (nested_ > 0) {
            --nested_;
            return;
        }
        owner_.store(pthread_t{}, std::memory_order_relaxed);
        mutex_.Unlock();
    }

private:
    Mutex mutex_;
    std::atomic<pthread_t> owner_{};
    int nested_ = 0;  // the owner's
};

}  // namespace orva::hidl
