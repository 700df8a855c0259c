/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/Load.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <thread>

#include "client/perf/ServiceTimes.h"

namespace orva::client {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using namespace std::chrono_literals;

TEST(Histogram, TellsTimesApartToHalfAPercent) {
    for (int64_t time = 1; time < 7'000'000'000'000; time += 1 + time * 37 / 100) {
        Histogram one;
        const nanoseconds exact(time);
        one.add(nanoseconds(0));
        one.add(exact);
        one.add(nanoseconds(static_cast<int64_t>(8e12)));
        EXPECT_NEAR(static_cast<double>(one.percentile(0.5).count()),
                    static_cast<double>(exact.count()), 0.005 * static_cast<double>(time));
    }
}

TEST(Histogram, AnswersForAllThatWasAdded) {
    Histogram all, odd;
    for (int i = 1; i <= 1000; ++i) {
        (i % 2 == 0 ? all : odd).add(milliseconds(i));
    }
    all.add(odd);
    EXPECT_EQ(all.count(), 1000U);
    EXPECT_EQ(all.least(), milliseconds(1));
    EXPECT_EQ(all.greatest(), milliseconds(1000));
    EXPECT_EQ(all.mean(), std::chrono::microseconds(500500));
    for (const auto& [part, expected] :
         {std::pair(0.5, 500.), {0.9, 900.}, {0.99, 990.}, {1., 1000.}, {0., 1.}}) {
        const auto found = std::chrono::duration<double, std::milli>(all.percentile(part)).count();
        EXPECT_NEAR(found, expected, 0.005 * expected) << part;
    }
    EXPECT_NEAR(static_cast<double>(all.between(milliseconds(100), milliseconds(200))), 100, 2);
    const Histogram none;
    EXPECT_EQ(none.percentile(0.5) + none.least() + none.mean() + none.greatest(), nanoseconds(0));
    // The end of what can be told apart.
    Histogram far;
    far.add(nanoseconds::max());
    far.add(nanoseconds(-1));
    EXPECT_EQ(far.greatest(), nanoseconds::max());
    EXPECT_EQ(far.least(), nanoseconds(0));
}

RequestTiming took(milliseconds total) {
    RequestTiming timing;
    timing.total = total;
    return timing;
}

TEST(Load, SendsAsManyAsTheRateSays) {
    std::atomic<int> sent{0};
    const std::atomic<bool> stop{false};
    const auto request = [&] {
        ++sent;
        return took(milliseconds(1));
    };
    const LoadPlan plan = {200, milliseconds(500), milliseconds(100)};
    const LoadReport report = runLoad(
            plan, {request, request, request}, [](auto&) {}, stop);
    EXPECT_EQ(sent, 120);
    EXPECT_EQ(report.result.latency.count(), 100U) << "the warm-up does not count";
    EXPECT_GE(report.measured, milliseconds(500));
}

// One request that takes long makes those late that were due meanwhile, and they are not left out.
TEST(Load, CountsLatencyFromWhenARequestWasDue) {
    const std::atomic<bool> stop{false};
    bool first = true;
    const auto request = [&] {
        if (std::exchange(first, false)) {
            std::this_thread::sleep_for(milliseconds(100));
        }
        return took(milliseconds(0));
    };
    const LoadReport report = runLoad(
            {1000, milliseconds(100), {}}, {request}, [](auto&) {}, stop);
    EXPECT_EQ(report.result.latency.count(), 100U);
    EXPECT_GT(report.result.latency.percentile(0.5), milliseconds(30));
    EXPECT_EQ(report.result.late.greatest(), report.result.latency.greatest());
}

TEST(Load, CountsFailuresAndKeepsTheFirst) {
    std::atomic<bool> stop{false};
    int sent = 0;
    const auto request = [&]() -> RequestTiming {
        stop = ++sent == 4;
        if (sent % 2 == 0) {
            throw std::runtime_error("number " + std::to_string(sent));
        }
        return took(milliseconds(1));
    };
    size_t seconds = 0;
    const LoadReport report = runLoad(
            {0, std::chrono::hours(1), {}}, {request},
            [&](const LoadSecond& second) {
                ++seconds;
                EXPECT_EQ(second.failures, 2U);
            },
            stop);
    EXPECT_EQ(report.result.latency.count(), 2U);
    EXPECT_EQ(report.result.latency.mean(), milliseconds(1));
    EXPECT_EQ(report.result.failures, 2U);
    EXPECT_EQ(report.result.firstFailure, "number 2");
    EXPECT_EQ(seconds, 1U);
}

TEST(ServiceTimes, AreTakenFromTheContextWhenItHasThem) {
    const auto micros = [](const char* context) {
        const auto times = serviceTimes(context);
        return times ? std::pair(times->queue / 1us, times->run / 1us) : std::pair(-1L, -1L);
    };
    EXPECT_EQ(micros(R"({"queueMicros": 12, "runMicros": 3400})"), std::pair(12L, 3400L));
    EXPECT_EQ(micros(R"({"queueMicros": "12", "runMicros": "3400", "mine": "x"})"),
              std::pair(12L, 3400L));
    for (const char* const none :
         {R"({"runMicros": 3400})", R"({"queueMicros": 12})",
          R"({"queueMicros": "12x", "runMicros": "3400"})",
          R"({"queueMicros": "", "runMicros": "3400"})", R"({"queueMicros": -1, "runMicros": 3})",
          R"({"queueMicros": 1e300, "runMicros": 3})", R"(["queueMicros", "runMicros"])",
          "runMicros", ""}) {
        EXPECT_EQ(micros(none).first, -1) << none;
    }
}

}  // namespace
}  // namespace orva::client
