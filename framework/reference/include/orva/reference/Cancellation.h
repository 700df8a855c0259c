/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>

namespace orva::reference {

// Why work is no longer wanted.
enum class CancelCause {
    kNone,        // it is
    kTimeout,     // it takes longer than SetLoadTimeout or SetRunTimeout allow
    kClientGone,  // the process that asked for it has ended
    kClosed,      // its node or model manager has gone, or the framework is being shut down
};

// Tells a piece of work whether it is still wanted. Work that may take long is handed one, and ends
// soon after it is cancelled, by whatever status or exception: the cause then decides what its
// client is told. Work that goes on all the same is left alone with its thread, which another one
// stands in for, and what it makes is dropped.
//
// Every operation may be called from any thread.
class Cancellation {
public:
    Cancellation() = default;
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    CancelCause cause() const { return cause_; }
    bool IsCancelled() const { return cause_ != CancelCause::kNone; }

    // The first cause stays.
    void Cancel(CancelCause cause);

    // Held by work around what does not look at IsCancelled itself: when the work is cancelled,
    // `told` is called once, on the thread that cancels, or here and now if that has happened. It
    // has returned, or will not be called, once the listener is gone. It must be quick, must not
    // throw, and must leave this Cancellation alone.
    class Listener {
    public:
        Listener(Cancellation& cancellation, std::function<void()> told);
        ~Listener();
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

    private:
        Cancellation& cancellation_;
        std::list<std::function<void()>>::iterator place_;
    };

private:
    std::atomic<CancelCause> cause_{CancelCause::kNone};
    std::mutex mutex_;  // held while listeners are told
    std::list<std::function<void()>> listeners_;
};

}  // namespace orva::reference
