/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <pthread.h>
#include <time.h>

#include "common/ThreadAnnotations.h"

namespace orva::hidl {

// A plain mutex; exactly the size of the platform's.
class ORVA_CAPABILITY("mutex") Mutex {
public:
    Mutex() { pthread_mutex_init(&mutex_, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&mutex_); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() ORVA_ACQUIRE() { pthread_mutex_lock(&mutex_); }
    void Unlock() ORVA_RELEASE() { pthread_mutex_unlock(&mutex_); }

    // False when somebody else still holds it after that time; looks once a millisecond. For those
    // who would rather do without than wait for it.
    bool TryLockFor(int milliseconds) ORVA_TRY_ACQUIRE(true) {
        for (; pthread_mutex_trylock(&mutex_) != 0; --milliseconds) {
            if (milliseconds <= 0) {
                return false;
            }
            const timespec pause = {0, 1'000'000};
            nanosleep(&pause, nullptr);
        }
        return true;
    }

private:
    pthread_mutex_t mutex_;
};

// Holds a mutex for the length of a scope.
class ORVA_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ORVA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~MutexLock() ORVA_RELEASE() { mutex_.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

}  // namespace orva::hidl
