/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <pthread.h>

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

private:
    pthread_mutex_t mutex_;
};

// Holds a mutex of either kind for the length of a scope.
template <typename Lockable>
class ORVA_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Lockable& mutex) ORVA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~MutexLock() ORVA_RELEASE() { mutex_.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Lockable& mutex_;
};

}  // namespace orva::hidl
