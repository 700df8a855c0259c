/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/Work.h"

#include <atomic>
#include <system_error>
#include <thread>
#include <utility>

#include <orva/reference/NodeStatus.h>
#include <orva/reference/Settings.h>

#include "base/Log.h"
#include "base/Mutex.h"

namespace orva::reference {

namespace {

// Between two looks at the work under way. Nobody is woken for work that begins and ends between
// them, unless there was none at all for so long.
constexpr std::chrono::milliseconds kPeriod{250};

std::atomic<std::chrono::nanoseconds> loadTimeout{std::chrono::minutes(1)};
std::atomic<std::chrono::nanoseconds> runTimeout{std::chrono::minutes(1)};

thread_local pid_t workingFor = 0;

Work::Clock::time_point After(std::chrono::nanoseconds limit) {
    const auto now = Work::Clock::now();
    const bool ends = limit > std::chrono::nanoseconds::zero() &&
                      limit < Work::Clock::time_point::max() - now;
    return ends ? now + limit : Work::Clock::time_point::max();
}

const char* TextOf(CancelCause cause) {
    return cause == CancelCause::kTimeout      ? "its time is up"
           : cause == CancelCause::kClientGone ? "the process has ended"
                                               : "its session has";
}

}  // namespace

// The thread that looks after the work under way. It sleeps when there is none.
class Watch {
public:
    // Never destroyed: work may be under way while the process exits. Its thread ends there.
    static Watch& Instance() {
        static Watch& watch = *new Watch;
        static const struct AtExit {
            ~AtExit() { watch.Stop(); }
        } atExit;
        return watch;
    }

    void Add(Work& work) {
        MutexLock lock(mutex_);
        work.place_ = works_.insert(works_.end(), &work);
        if (!thread_.joinable() && !stopping_) {
            try {
                thread_ = std::thread(&Watch::Run, this);
            } catch (const std::system_error& error) {
                ORVA_LOGE("cannot start a thread: %s", error.what());
            }
        }
        if (asleep_) {
            wake_.NotifyOne();
        }
    }

    void Remove(Work& work) {
        MutexLock lock(mutex_);
        works_.erase(work.place_);
    }

    void CancelAll() {
        MutexLock lock(mutex_);
        for (Work* work : works_) {
            work->cancellation_.Cancel(CancelCause::kClosed);
        }
    }

private:
    void Stop() {
        std::thread ended;
        {
            MutexLock lock(mutex_);
            stopping_ = true;
            ended.swap(thread_);
        }
        wake_.NotifyOne();
        if (ended.joinable()) {
            ended.join();
        }
    }

    void Run() {
        MutexLock lock(mutex_);
        bool idle = false;
        while (!stopping_) {
            asleep_ = idle && works_.empty();
            if (asleep_) {
                wake_.Wait(mutex_);
                asleep_ = false;
            }
            idle = works_.empty();
            const Work::Clock::time_point next = Work::Clock::now() + kPeriod;
            while (!stopping_ && wake_.WaitUntil(mutex_, next)) {
            }
            for (Work* work : works_) {
                LookAt(*work);
            }
        }
    }

    static void LookAt(Work& work) {
        const Work::Clock::time_point now = Work::Clock::now();
        if (!work.cancellation_.IsCancelled()) {
            if (now >= work.timeout_) {
                work.cancellation_.Cancel(CancelCause::kTimeout);
            } else if (work.client_->HasGone()) {
                work.cancellation_.Cancel(CancelCause::kClientGone);
            } else {
                return;
            }
        }
        if (!work.giveUp_) {
            ORVA_LOGE("%swork for process %d is cancelled: %s", work.subject_.c_str(),
                      work.client_->pid(), TextOf(work.cancellation_.cause()));
            work.giveUp_ = now + Work::kGrace;
        } else if (now >= *work.giveUp_ && !work.givenUp_) {
            ORVA_LOGE("%swork for process %d goes on although it is cancelled",
                      work.subject_.c_str(), work.client_->pid());
            work.givenUp_ = true;
            if (work.onGivenUp_) {
                work.onGivenUp_();
            }
        }
    }

    Mutex mutex_;
    Condition wake_;
    std::list<Work*> works_ ORVA_GUARDED_BY(mutex_);
    std::thread thread_ ORVA_GUARDED_BY(mutex_);
    bool asleep_ ORVA_GUARDED_BY(mutex_) = false;
    bool stopping_ ORVA_GUARDED_BY(mutex_) = false;
};

Work::Work(std::shared_ptr<Client> client, std::chrono::nanoseconds limit,
           std::function<void()> onGivenUp)
        : client_(std::move(client)),
          onGivenUp_(std::move(onGivenUp)),
          subject_(LogSubject::Current()),
          timeout_(After(limit)) {
    Watch::Instance().Add(*this);
}

Work::~Work() {
    Watch::Instance().Remove(*this);
}

int32_t Work::Outcome(int32_t status) const {
    if (status == kNodeOk || !cancellation_.IsCancelled()) {
        return status;
    }
    return cancellation_.cause() == CancelCause::kTimeout ? kNodeTimedOut : kNodeStopped;
}

std::chrono::nanoseconds LoadTimeout() {
    return loadTimeout;
}
std::chrono::nanoseconds RunTimeout() {
    return runTimeout;
}

WorkingScope::WorkingScope(const Client& client) : outer_(workingFor) {
    workingFor = client.pid();
}

WorkingScope::~WorkingScope() {
    workingFor = outer_;
}

pid_t WorkingFor() {
    return workingFor;
}

void CancelWork() {
    Watch::Instance().CancelAll();
}

void SetLoadTimeout(std::chrono::nanoseconds timeout) {
    loadTimeout = timeout;
}
void SetRunTimeout(std::chrono::nanoseconds timeout) {
    runTimeout = timeout;
}

}  // namespace orva::reference
