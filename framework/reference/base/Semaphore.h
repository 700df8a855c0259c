/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <semaphore.h>

#include <cerrno>
#include <chrono>

namespace orva::reference {

// A count of wake-ups that no waiter has taken yet. One system call wakes a waiter, where a
// condition variable takes a lock besides.
class Semaphore {
public:
    Semaphore() { sem_init(&semaphore_, 0, 0); }
    ~Semaphore() { sem_destroy(&semaphore_); }
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    void Post() { sem_post(&semaphore_); }
    void Wait() {
        while (sem_wait(&semaphore_) != 0) {
        }
    }
    // False when the time has run out.
    bool WaitFor(std::chrono::milliseconds time) {
        timespec deadline = {};
        clock_gettime(CLOCK_REALTIME, &deadline);
        const auto nanoseconds =
                std::chrono::nanoseconds(deadline.tv_nsec) + std::chrono::nanoseconds(time);
        deadline.tv_sec += nanoseconds / std::chrono::seconds(1);
        deadline.tv_nsec = (nanoseconds % std::chrono::seconds(1)).count();
        int result;
        do {
            result = sem_timedwait(&semaphore_, &deadline);
        } while (result != 0 && errno == EINTR);
        return result == 0;
    }

private:
    sem_t semaphore_;
};

}  // namespace orva::reference
