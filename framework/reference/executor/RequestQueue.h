/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Mutex.h"
#include "client/Client.h"
#include "executor/RequestJournal.h"
#include "executor/Strand.h"
#include "executor/Work.h"
#include "service/ServedSession.h"

namespace orva::reference {

// The accepted requests of one node or model manager, all of one client process. They run on an
// executor, one at a time and in order unless SetConcurrency says otherwise, and each is reported
// to the listener exactly once. May be used from any thread.
template <class Listener>
class RequestQueue final : public std::enable_shared_from_this<RequestQueue<Listener>>,
                           private RequestSource {
public:
    // Each holds its tensors, and so descriptors and mappings of the process, until its client has
    // heard of it; a client that asks faster than it listens must not come to hold them all.
    static constexpr size_t kMostWaiting = 128;
    // Of what a client is told.
    static constexpr size_t kLongestReason = 512;

    // The executor must outlive the posts. The client is the process whose call this thread serves,
    // and the service the interface that it calls.
    RequestQueue(Executor& executor, const char* service)
            : service_(service),
              client_(Client::Calling()),
              executor_(executor),
              session_(client_->pid() == 0 ? "" : "process " + std::to_string(client_->pid())) {
        SetConcurrency(1);
        Show();
    }
    ~RequestQueue() { Hide(); }
    RequestQueue(const RequestQueue&) = delete;
    RequestQueue& operator=(const RequestQueue&) = delete;

    // So many run at a time. Before the first request.
    void SetConcurrency(size_t concurrency) {
        lines_.clear();
        for (size_t i = 0; i < concurrency; ++i) {
            lines_.push_back(std::make_unique<Line>(executor_, client_.get()));
        }
    }

    // Whether the context of a request that has run tells how long it had waited before and how
    // long it took, "queueMicros" and "runMicros". Before the first request.
    void TellTimes(bool tell) { tellsTimes_ = tell; }

    const std::shared_ptr<Client>& client() const { return client_; }

    // Whose requests these are, for the log: the session's, once a call has told which that is, or
    // the process's.
    std::string Session() {
        MutexLock lock(mutex_);
        return session_;
    }
    // The same in a call that AIServiceConnectManager has just been told of.
    std::string SessionOfCall() {
        std::string told = std::exchange(ServedSession(), "");
        MutexLock lock(mutex_);
        if (!told.empty()) {
            session_ = std::move(told);
        }
        return session_;
    }

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
        const Clock::time_point posted = Clock::now();
        Place place(*this, request, posted);
        if (!place.number) {
            return kNodeBusy;
        }
        Line& line = ShortestLine();
        ++line.length;
        if (!line.strand->Post([self = this->shared_from_this(), &line,
                                request = std::move(request), run = std::move(run), posted,
                                number = *place.number]() mutable {
                self->Complete(line, request, run, posted, number);
            })) {
            --line.length;
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
    using Clock = RequestJournal::Clock;

    // Requests that run one after the other.
    struct Line {
        Line(Executor& executor, const void* owner)
                : strand(std::make_shared<Strand>(executor, owner)) {}
        const std::shared_ptr<Strand> strand;
        std::atomic<int> length{0};
    };

    Line& ShortestLine() const {
        return **std::min_element(
                lines_.begin(), lines_.end(),
                [](const auto& left, const auto& right) { return left->length < right->length; });
    }

    // Among the requests that wait; given back unless it is kept. The first of each line is what
    // needs a thread.
    struct Place {
        Place(RequestQueue& queue, const Request& request, Clock::time_point now)
                : queue(queue),
                  tensors(TensorsOf(request)),
                  number(queue.TakePlace(tensors, now)) {}
        ~Place() {
            if (number && !kept) {
                queue.Forget(*number);
                queue.GivePlace(tensors);
            }
        }
        RequestQueue& queue;
        const size_t tensors;
        const std::optional<uint64_t> number;  // in the journal; nothing when there was no place
        bool kept = false;
    };

    // One request as it runs, on the running thread's stack.
    struct Attempt {
        RequestQueue& queue;
        Strand& strand;
        const AIContext context;  // as it came, for the handler may be writing to the request's
        const Request& request;
        bool givenUp = false;
        bool replaced = false;  // Its thread is.

        void GiveUp() {
            givenUp = queue.ReportLost(context, request.outputs);
            replaced = givenUp && queue.client_->threads.Take();
            if (replaced) {
                strand.GoOnWithoutTask();
            }
        }
    };

    static size_t TensorsOf(const Request& request) {
        return request.inputs.size() + request.outputs.size();
    }
    std::optional<uint64_t> TakePlace(size_t tensors, Clock::time_point now) {
        const std::optional<uint64_t> number = TakeTurn(now);
        if (!number) {
            return std::nullopt;
        }
        if (client_->requests.Take()) {
            if (client_->tensors.Take(tensors)) {
                return number;
            }
            client_->requests.Give();
        }
        Forget(*number);
        GiveTurn();
        return std::nullopt;
    }
    void GivePlace(size_t tensors) {
        client_->tensors.Give(tensors);
        client_->requests.Give();
        GiveTurn();
    }
    std::optional<uint64_t> TakeTurn(Clock::time_point now) {
        MutexLock lock(mutex_);
        if (waiting_ == kMostWaiting) {
            ORVA_LOGE("a request while %zu others wait", waiting_);
            return std::nullopt;
        }
        if (waiting_ < lines_.size() && !client_->threads.Take()) {
            return std::nullopt;
        }
        ++waiting_;
        return journal_.Accept(now);
    }
    void Forget(uint64_t number) {
        MutexLock lock(mutex_);
        journal_.Forget(number);
    }
    void GiveTurn() {
        MutexLock lock(mutex_);
        if (--waiting_ < lines_.size()) {
            client_->threads.Give();
        }
    }

    template <class Runner>
    void Complete(Line& line, Request& request, const Runner& run, Clock::time_point posted,
                  uint64_t number) {
        const WorkingScope scope(*client_);
        const LogSubject subject(Session());
        const size_t tensors = TensorsOf(request);
        Attempt attempt{*this, *line.strand, request.context, request};
        int32_t result = kNodeStopped;
        if (!closed_) {
            Work work(client_, RunTimeout(), [&attempt] { attempt.GiveUp(); });
            const Clock::time_point begun = Clock::now();
            Begins(number, &work.cancellation(), begun);
            std::string reason;
            result = work.Outcome(Guarded("request failed", [&] {
                try {
                    return run(request, work.cancellation());
                } catch (const std::exception& error) {
                    reason = OneLine(error.what()).substr(0, kLongestReason);
                    throw;
                }
            }));
            const Clock::time_point ended = Clock::now();
            if (tellsTimes_ && result == kNodeFailed && !reason.empty()) {
                request.context.SetPara("reason", reason);
            }
            if (tellsTimes_) {
                SetTime(request.context, "queueMicros", begun - posted);
                SetTime(request.context, "runMicros", ended - begun);
            }
            Ends(number, &work.cancellation(), ended, result);
        } else {
            Ends(number, nullptr, Clock::now(), result);
        }
        // Unmapped now and not beside the client's next call, which maps: the two would wait for
        // each other.
        request.inputs.clear();
        if (!attempt.givenUp) {
            Report(request.context, result, request.outputs);
        }
        if (attempt.replaced) {
            client_->threads.Give();
        }
        GivePlace(tensors);
        --line.length;
    }
    static void SetTime(AIContext& context, const char* name, Clock::duration time) {
        context.SetPara(
                name, std::to_string(
                              std::chrono::duration_cast<std::chrono::microseconds>(time).count()));
    }

    void Begins(uint64_t number, Cancellation* cancellation, Clock::time_point now) {
        MutexLock lock(mutex_);
        journal_.Begin(number, now);
        running_.push_back(cancellation);
        if (closed_) {
            cancellation->Cancel(CancelCause::kClosed);
        }
    }
    // Without a cancellation when it never began.
    void Ends(uint64_t number, const Cancellation* cancellation, Clock::time_point now,
              int32_t result) {
        MutexLock lock(mutex_);
        journal_.End(number, now, result);
        if (cancellation != nullptr) {
            running_.erase(std::find(running_.begin(), running_.end(), cancellation));
        }
    }

    SessionRequests LatestRequests() override {
        MutexLock lock(mutex_);
        return {service_, session_, journal_.Look(Clock::now())};
    }

    void Report(const AIContext& context, int32_t result,
                const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        std::shared_ptr<Listener> receiver;
        {
            MutexLock lock(mutex_);
            receiver = listener_;
        }
        BlockingScope scope(executor_);
        receiver->OnProcessDone(context, result, outputs);
    }

    // On a thread of its own, since the listener may take long. False when there is none.
    bool ReportLost(const AIContext& context,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        return executor_.Post([self = this->shared_from_this(), context, outputs] {
            const WorkingScope scope(*self->client_);
            self->Report(context, kNodeTimedOut, outputs);
        });
    }

    const char* const service_;
    const std::shared_ptr<Client> client_;
    Executor& executor_;
    std::vector<std::unique_ptr<Line>> lines_;
    bool tellsTimes_ = false;
    std::atomic<bool> closed_{false};
    std::atomic<bool> listening_{false};  // Once there is a listener, there always is one.
    Mutex mutex_;
    std::shared_ptr<Listener> listener_ ORVA_GUARDED_BY(mutex_);
    std::string session_ ORVA_GUARDED_BY(mutex_);
    std::vector<Cancellation*> running_ ORVA_GUARDED_BY(mutex_);
    RequestJournal journal_ ORVA_GUARDED_BY(mutex_);
    size_t waiting_ ORVA_GUARDED_BY(mutex_) = 0;
};

}  // namespace orva::reference
