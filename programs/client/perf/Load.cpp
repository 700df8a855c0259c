/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/Load.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "client/lib/ServiceError.h"

namespace orva::client {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

// No wait is longer, so that a stop is seen in time.
constexpr nanoseconds kNap = std::chrono::milliseconds(50);
constexpr nanoseconds kAfterFailure = std::chrono::milliseconds(10);

struct Schedule {
    const LoadPlan plan;
    const std::atomic<bool>& stop;
    const Clock::time_point begin = Clock::now();
    const Clock::time_point counted = begin + plan.warmup;
    const Clock::time_point end = counted + plan.duration;
    std::atomic<uint64_t> next{0};

    bool over(Clock::time_point at) const { return stop || at >= end; }
    // When the next request is due. At a rate each is taken by one worker.
    Clock::time_point takeNext() {
        if (plan.rate <= 0) {
            return Clock::now();
        }
        const double seconds = static_cast<double>(next++) / plan.rate;
        return begin +
               std::chrono::duration_cast<nanoseconds>(std::chrono::duration<double>(seconds));
    }
    // False when it is over before.
    bool sleepUntil(Clock::time_point due) const {
        for (Clock::time_point now = Clock::now(); now < due; now = Clock::now()) {
            if (over(now)) {
                return false;
            }
            std::this_thread::sleep_until(std::min(due, now + kNap));
        }
        return true;
    }
};

// What one worker has found since it was last asked.
class Tally {
public:
    void add(const RequestTiming& timing, nanoseconds late) {
        const std::lock_guard lock(mutex_);
        found_->add(timing, late);
    }
    void fail(const std::string& why) {
        const std::lock_guard lock(mutex_);
        if (found_->failures++ == 0) {
            found_->firstFailure = why;
        }
    }
    std::unique_ptr<LoadResult> take() {
        auto fresh = std::make_unique<LoadResult>();
        const std::lock_guard lock(mutex_);
        fresh.swap(found_);
        return fresh;
    }

private:
    std::mutex mutex_;
    std::unique_ptr<LoadResult> found_ = std::make_unique<LoadResult>();
};

void work(Schedule* schedule, const std::function<RequestTiming()>& request, Tally* tally) {
    for (;;) {
        const Clock::time_point due = schedule->takeNext();
        if (schedule->over(due) || !schedule->sleepUntil(due)) {
            return;
        }
        const nanoseconds late =
                schedule->plan.rate > 0 ? nanoseconds(Clock::now() - due) : nanoseconds{0};
        const bool counts = due >= schedule->counted;
        try {
            const RequestTiming timing = request();
            if (counts) {
                tally->add(timing, late);
            }
        } catch (const ServiceError& error) {
            tally->fail(error.explained());
            schedule->sleepUntil(Clock::now() + kAfterFailure);
        } catch (const std::exception& error) {
            tally->fail(error.what());
            schedule->sleepUntil(Clock::now() + kAfterFailure);
        }
    }
}

LoadSecond secondOf(const LoadResult& result, size_t number, nanoseconds length) {
    const double seconds = std::chrono::duration<double>(length).count();
    return {number,
            result.latency.count(),
            result.failures,
            seconds > 0 ? static_cast<double>(result.latency.count()) / seconds : 0,
            result.latency.percentile(0.5),
            result.latency.percentile(0.99)};
}

}  // namespace

void LoadResult::add(const RequestTiming& timing, nanoseconds late) {
    latency.add(late + timing.total);
    this->late.add(late);
    call.add(timing.call);
    if (timing.service) {
        queue.add(timing.service->queue);
        run.add(timing.service->run);
    }
    if (timing.files) {
        Turn& turn = turns[*timing.files];
        ++turn.requests;
        turn.latency += late + timing.total;
    }
}

void LoadResult::add(const LoadResult& others) {
    latency.add(others.latency);
    late.add(others.late);
    call.add(others.call);
    queue.add(others.queue);
    run.add(others.run);
    for (const auto& [number, other] : others.turns) {
        Turn& turn = turns[number];
        turn.requests += other.requests;
        turn.latency += other.latency;
    }
    if (failures == 0) {
        firstFailure = others.firstFailure;
    }
    failures += others.failures;
}

double LoadReport::throughput() const {
    const double seconds = std::chrono::duration<double>(measured).count();
    return seconds > 0 ? static_cast<double>(result.latency.count()) / seconds : 0;
}

LoadReport runLoad(const LoadPlan& plan, const std::vector<std::function<RequestTiming()>>& workers,
                   const std::function<void(const LoadSecond&)>& eachSecond,
                   const std::atomic<bool>& stop) {
    Schedule schedule = {plan, stop};
    std::vector<Tally> tallies(workers.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < workers.size(); ++i) {
        threads.emplace_back([&, i] { work(&schedule, workers[i], &tallies[i]); });
    }
    LoadReport report;
    Clock::time_point from = schedule.counted;
    const auto take = [&](Clock::time_point to) {
        auto second = std::make_unique<LoadResult>();
        for (Tally& tally : tallies) {
            second->add(*tally.take());
        }
        report.result.add(*second);
        if (to > from && (second->latency.count() > 0 || second->failures > 0)) {
            report.seconds.push_back(secondOf(*second, report.seconds.size() + 1, to - from));
            eachSecond(report.seconds.back());
        }
        from = std::max(from, to);
    };
    schedule.sleepUntil(schedule.counted);
    while (schedule.sleepUntil(std::min(from + std::chrono::seconds(1), schedule.end)) &&
           !schedule.over(Clock::now())) {
        take(Clock::now());
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    take(Clock::now());
    report.measured = std::max(nanoseconds{0}, nanoseconds(from - schedule.counted));
    return report;
}

}  // namespace orva::client
