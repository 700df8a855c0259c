/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Mutex.h"
#include "executor/Strand.h"

namespace orva::reference {

// The accepted requests of one node or model manager. They run on an executor, one at a time and in
// order, and each is reported to the listener exactly once. May be used from any thread.
template <class Listener>
class RequestQueue : public std::enable_shared_from_this<RequestQueue<Listener>> {
public:
    // Each holds its tensors, and so descriptors and mappings of the process, until its client has
    // heard of it; a client that asks faster than it listens must not come to hold them all.
    static constexpr int kMostWaiting = 128;

    // The executor must outlive the posts.
    explicit RequestQueue(Executor& executor) : strand_(std::make_shared<Strand>(executor)) {}

    int32_t SetListener(const std::shared_ptr<Listener>& listener) {
        if (listener == nullptr) {
            ORVA_LOGE("the listener is null");
            return kNodeBadRequest;
        }
        // The old listener is let go of outside the lock.
        std::shared_ptr<Listener> replaced = listener;
        MutexLock lock(mutex_);
        listener_.swap(replaced);
        lock.Unlock();
        listening_ = true;
        return kNodeOk;
    }

    bool HasListener() const { return listening_; }

    // Takes a request; kNodeBusy or kNodeStopped when it cannot. There must be a listener. `run`
    // runs the request and returns its result; what it throws becomes kNodeFailed.
    template <class Runner>
    int32_t Post(Request request, Runner run) {
        Place place(*this);
        if (place.number > kMostWaiting) {
            ORVA_LOGE("a request while %d others wait", kMostWaiting);
            return kNodeBusy;
        }
        if (!strand_->Post([self = this->shared_from_this(), request = std::move(request),
                            run = std::move(run)]() mutable { self->Complete(request, run); })) {
            ORVA_LOGE("a request after the shutdown");
            return kNodeStopped;
        }
        place.taken = true;
        return kNodeOk;
    }

    // The owner has gone: nobody waits for what its requests would compute. Those that have not
    // begun end with kNodeStopped.
    void Close() { closed_ = true; }

private:
    // Among those that wait; given back unless it is taken.
    struct Place {
        explicit Place(RequestQueue& queue) : queue(queue), number(++queue.waiting_) {}
        ~Place() {
            if (!taken) {
                --queue.waiting_;
            }
        }
        RequestQueue& queue;
        const int number;
        bool taken = false;
    };

    template <class Runner>
    void Complete(Request& request, const Runner& run) {
        const int32_t result =
                closed_ ? kNodeStopped : Guarded("request failed", [&] { return run(request); });
        std::shared_ptr<Listener> receiver;
        {
            MutexLock lock(mutex_);
            receiver = listener_;
        }
        BlockingScope scope(strand_->executor());
        receiver->OnProcessDone(request.context, result, request.outputs);
        --waiting_;
    }

    const std::shared_ptr<Strand> strand_;
    std::atomic<int> waiting_{0};
    std::atomic<bool> closed_{false};
    std::atomic<bool> listening_{false};  // Once there is a listener, there always is one.
    Mutex mutex_;
    std::shared_ptr<Listener> listener_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::reference
