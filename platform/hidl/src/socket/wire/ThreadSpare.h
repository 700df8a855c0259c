/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <utility>

namespace android::hardware::socket {

// One object of a kind that each thread keeps for its next use, so that calls need not allocate.
// Of use until the thread's very end: static objects let go of their proxies when the main thread's
// own variables have been destroyed already.
template <typename T>
class ThreadSpare {
public:
    // The thread's spare object, as it was left, or a new one.
    static std::unique_ptr<T> take() {
        std::unique_ptr<T> object(std::exchange(kept, nullptr));
        return object == nullptr ? std::unique_ptr<T>(new T) : std::move(object);
    }

    static void give(std::unique_ptr<T> object) {
        thread_local const Keeper keeper{};
        (void)keeper;
        if (kept == nullptr) {
            kept = object.release();
        }
    }

private:
    struct Keeper {
        Keeper() = default;
        ~Keeper() { delete std::exchange(kept, nullptr); }
    };

    static inline thread_local T* kept = nullptr;  // Without a destructor, so never too late.
};

}  // namespace android::hardware::socket
