/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Clang checks at compile time what these attributes say; other compilers skip them.
#if defined(__clang__)
#define ORVA_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ORVA_THREAD_ATTRIBUTE(x)
#endif
#define ORVA_GUARDED_BY(x) ORVA_THREAD_ATTRIBUTE(guarded_by(x))
#define ORVA_REQUIRES(x) ORVA_THREAD_ATTRIBUTE(requires_capability(x))
#define ORVA_EXCLUDES(x) ORVA_THREAD_ATTRIBUTE(locks_excluded(x))

namespace orva::reference {

// std::mutex with the attributes that the analysis needs.
class ORVA_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
public:
    void lock() ORVA_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
    void unlock() ORVA_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

private:
    friend class Condition;
    std::mutex mutex_;
};

// Holds a mutex for a scope; may let go of it in between.
class ORVA_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ORVA_THREAD_ATTRIBUTE(acquire_capability(mutex))
            : mutex_(mutex) {
        mutex_.lock();
    }
    ~MutexLock() ORVA_THREAD_ATTRIBUTE(release_capability()) {
        if (held_) {
            mutex_.unlock();
        }
    }
    void Unlock() ORVA_THREAD_ATTRIBUTE(release_capability()) {
        held_ = false;
        mutex_.unlock();
    }
    void Lock() ORVA_THREAD_ATTRIBUTE(acquire_capability()) {
        mutex_.lock();
        held_ = true;
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
    bool held_ = true;
};

// A condition variable on Mutex. Waits may end without cause.
class Condition {
public:
    void Wait(Mutex& mutex) ORVA_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        condition_.wait(lock);
        lock.release();
    }
    // False when the time has come.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point time) ORVA_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        const bool inTime = condition_.wait_until(lock, time) == std::cv_status::no_timeout;
        lock.release();
        return inTime;
    }
    void NotifyOne() { condition_.notify_one(); }
    void NotifyAll() { condition_.notify_all(); }

private:
    std::condition_variable condition_;
};

}  // namespace orva::reference
