/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Mutex.h"
#include "client/Client.h"
#include "executor/Strand.h"
#include "executor/Work.h"

namespace orva::reference {

// The accepted requests of one node or model manager, all of one client process. They run on an
// executor, one at a time and in order, and each is reported to the listener exactly once. May be
// used from any thread.
template <class Listener>
class RequestQueue : public std::enable_shared_from_this<RequestQueue<Listener>> {
public:
    // Each holds its tensors, and so descriptors and mappings of the process, until its client has
    // heard of it; a client that asks faster than it listens must not come to hold them all.
    static constexpr int kMostWaiting = 128;

    // The executor must outlive the posts. The client is the process whose call this thread serves.
    explicit RequestQueue(Executor& executor)
            : client_(Client::Calling()),
              strand_(std::make_shared<Strand>(executor, client_.get())) {}

    const std::shared_ptr<Client>& client() const { return client_; }

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

    // Takes a request; kNodeBusy or kNodeStopped when it cannot. There must be a listener. `run` is
    // given the request and a Cancellation, runs it and returns its result; what it throws becomes
    // kNodeFailed.
    template <class Runner>
    int32_t Post(Request request, Runner run) {
        Place place(*this, request);
        if (!place.taken) {
            return kNodeBusy;
        }
        if (!strand_->Post([self = this->shared_from_this(), request = std::move(request),
                            run = std::move(run)]() mutable { self->Complete(request, run); })) {
            ORVA_LOGE("a request after the shutdown");
            return kNodeStopped;
        }
        place.kept = true;
        return kNodeOk;
    }

    // The owner has gone: nobody waits for what its requests would compute. The one that runs is
    // cancelled, and those that have not begun end with kNodeStopped.
    void Close() {
        MutexLock lock(mutex_);
        closed_ = true;
        for (Cancellation* const cancellation : running_) {
            cancellation->Cancel(CancelCause::kClosed);
        }
    }

private:
    // Among the requests that wait; given back unless it is kept. The first one is what needs a
    // thread.
    struct Place {
        Place(RequestQueue& queue, const Request& request)
                : queue(queue), tensors(TensorsOf(request)), taken(queue.TakePlace(tensors)) {}
        ~Place() {
            if (taken && !kept) {
                queue.GivePlace(tensors);
            }
        }
        RequestQueue& queue;
        const size_t tensors;
        const bool taken;
        bool kept = false;
    };

    // One request as it runs, on the running thread's stack.
    struct Attempt {
        RequestQueue& queue;
        const AIContext context;  // as it came, for the handler may be writing to the request's
        const Request& request;
        bool givenUp = false;
        bool replaced = false;  // Its thread is.

        void GiveUp() {
            givenUp = queue.ReportLost(context, request.outputs);
            replaced = givenUp && queue.client_->threads.Take();
            if (replaced) {
                queue.strand_->GoOnWithoutTask();
            }
        }
    };

    static size_t TensorsOf(const Request& request) {
        return request.inputs.size() + request.outputs.size();
    }
    bool TakePlace(size_t tensors) {
        const int number = ++waiting_;
        if (number > kMostWaiting) {
            ORVA_LOGE("a request while %d others wait", kMostWaiting);
        } else if (client_->requests.Take()) {
            if (client_->tensors.Take(tensors)) {
                if (number > 1 || client_->threads.Take()) {
                    return true;
                }
                client_->tensors.Give(tensors);
            }
            client_->requests.Give();
        }
        --waiting_;
        return false;
    }
    void GivePlace(size_t tensors) {
        client_->tensors.Give(tensors);
        client_->requests.Give();
        if (--waiting_ == 0) {
            client_->threads.Give();
        }
    }

    template <class Runner>
    void Complete(Request& request, const Runner& run) {
        const WorkingScope scope(*client_);
        const size_t tensors = TensorsOf(request);
        Attempt attempt{*this, request.context, request};
        int32_t result = kNodeStopped;
        if (!closed_) {
            Work work(client_, RunTimeout(), [&attempt] { attempt.GiveUp(); });
            Runs(&work.cancellation());
            result = work.Outcome(
                    Guarded("request failed", [&] { return run(request, work.cancellation()); }));
            RunsNoLonger(&work.cancellation());
        }
        if (!attempt.givenUp) {
            Report(request.context, result, request.outputs);
        }
        if (attempt.replaced) {
            client_->threads.Give();
        }
        GivePlace(tensors);
    }

    void Runs(Cancellation* cancellation) {
        MutexLock lock(mutex_);
        running_.push_back(cancellation);
        if (closed_) {
            cancellation->Cancel(CancelCause::kClosed);
        }
    }
    void RunsNoLonger(const Cancellation* cancellation) {
        MutexLock lock(mutex_);
        running_.erase(std::find(running_.begin(), running_.end(), cancellation));
    }

    void Report(const AIContext& context, int32_t result,
                const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        std::shared_ptr<Listener> receiver;
        {
            MutexLock lock(mutex_);
            receiver = listener_;
        }
        BlockingScope scope(strand_->executor());
        receiver->OnProcessDone(context, result, outputs);
    }

    // On a thread of its own, since the listener may take long. False when there is none.
    bool ReportLost(const AIContext& context,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        return strand_->executor().Post([self = this->shared_from_this(), context, outputs] {
            const WorkingScope scope(*self->client_);
            self->Report(context, kNodeTimedOut, outputs);
        });
    }

    const std::shared_ptr<Client> client_;
    const std::shared_ptr<Strand> strand_;
    std::atomic<int> waiting_{0};
    std::atomic<bool> closed_{false};
    std::atomic<bool> listening_{false};  // Once there is a listener, there always is one.
    Mutex mutex_;
    std::shared_ptr<Listener> listener_ ORVA_GUARDED_BY(mutex_);
    std::vector<Cancellation*> running_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::reference
