/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <set>

#include "Support.h"
#include "executor/Strand.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;
using test::Flag;

// Tasks that hold their threads until they are let go. Declared before the pool, which ends first.
class Holders {
public:
    explicit Holders(size_t count) : started_(count) {}

    Executor::Task Hold(size_t index, Executor* blocking = nullptr) {
        return [this, index, blocking] {
            std::unique_ptr<BlockingScope> scope;
            if (blocking != nullptr) {
                scope = std::make_unique<BlockingScope>(*blocking);
            }
            started_[index].Raise();
            EXPECT_TRUE(release_.Await());
        };
    }
    bool AwaitStart(size_t index) { return started_[index].Await(); }
    void Release() { release_.Raise(); }

private:
    std::deque<Flag> started_;
    Flag release_;
};

TEST(ThreadPool, StartsThreadsAsTasksNeedThem) {
    Holders holders(3);
    ThreadPool pool(2, 2);
    EXPECT_EQ(0u, pool.Threads());
    ASSERT_TRUE(pool.Post(holders.Hold(0)));
    ASSERT_TRUE(holders.AwaitStart(0));
    EXPECT_EQ(1u, pool.Threads());
    ASSERT_TRUE(pool.Post(holders.Hold(1)));
    ASSERT_TRUE(holders.AwaitStart(1));
    ASSERT_TRUE(pool.Post(holders.Hold(2)));
    EXPECT_EQ(2u, pool.Threads());
    holders.Release();
    EXPECT_TRUE(holders.AwaitStart(2));
}

TEST(ThreadPool, ThreadsStandInForBlockedOnesAndLeaveAgain) {
    Holders holders(4);
    ThreadPool pool(1, 3);
    for (size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(pool.Post(holders.Hold(i, &pool)));
        ASSERT_TRUE(holders.AwaitStart(i)) << i;
    }
    // That was the last one it may have.
    ASSERT_TRUE(pool.Post(holders.Hold(3)));
    EXPECT_EQ(3u, pool.Threads());
    holders.Release();
    EXPECT_TRUE(holders.AwaitStart(3));
    const auto end = std::chrono::steady_clock::now() + test::kWatchdog;
    while (pool.Threads() != 1 && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_EQ(1u, pool.Threads());
}

TEST(ThreadPool, ThreadsAtWorkAreNotStoodInFor) {
    Holders busy(1);
    std::atomic<bool> ran{false};
    ThreadPool pool(1, 3);
    ASSERT_TRUE(pool.Post(busy.Hold(0)));
    ASSERT_TRUE(busy.AwaitStart(0));
    ASSERT_TRUE(pool.Post([&] { ran = true; }));
    // Five times as long as the pool lets tasks wait for blocked threads.
    EXPECT_FALSE(pool.Shutdown(50ms));
    EXPECT_FALSE(ran);
    EXPECT_EQ(1u, pool.Threads());
    busy.Release();
    EXPECT_TRUE(pool.Shutdown(test::kWatchdog));
    EXPECT_TRUE(ran);
}

TEST(ThreadPool, ShutdownRunsWhatWasAcceptedAndRefusesTheRest) {
    ThreadPool pool(3, 3);
    std::atomic<int> accepted{0};
    std::atomic<int> ran{0};
    std::deque<std::thread> posters;
    for (int i = 0; i < 4; ++i) {
        posters.emplace_back([&] {
            while (pool.Post([&] { ++ran; })) {
                ++accepted;
            }
        });
    }
    while (accepted < 1000) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(pool.Shutdown(test::kWatchdog));
    for (std::thread& poster : posters) {
        poster.join();
    }
    EXPECT_EQ(accepted, ran);
    EXPECT_EQ(0u, pool.Threads());
    EXPECT_FALSE(pool.Post([] {}));
    EXPECT_TRUE(pool.Shutdown(0ns));
}

TEST(Strand, RunsOneTaskAtATimeInOrder) {
    const auto pool = std::make_shared<ThreadPool>(4, 4);
    constexpr int kStrands = 5;
    constexpr int kTasks = 2000;
    struct Lane {
        std::shared_ptr<Strand> strand;
        std::atomic<int> inside{0};
        std::vector<int> order;
    };
    std::deque<Lane> lanes(kStrands);
    for (Lane& lane : lanes) {
        lane.strand = std::make_shared<Strand>(*pool);
    }
    for (int i = 0; i < kTasks; ++i) {
        for (Lane& lane : lanes) {
            ASSERT_TRUE(lane.strand->Post([&lane, i] {
                EXPECT_EQ(1, ++lane.inside);
                lane.order.push_back(i);
                --lane.inside;
            }));
        }
    }
    ASSERT_TRUE(pool->Shutdown(test::kWatchdog));
    for (const Lane& lane : lanes) {
        ASSERT_EQ(static_cast<size_t>(kTasks), lane.order.size());
        EXPECT_TRUE(std::is_sorted(lane.order.begin(), lane.order.end()));
    }
}

TEST(Strand, OccupiesOneThreadAtMost) {
    Holders holders(1);
    Flag ran;
    const auto pool = std::make_shared<ThreadPool>(2, 2);
    const auto stuck = std::make_shared<Strand>(*pool);
    const auto other = std::make_shared<Strand>(*pool);
    ASSERT_TRUE(stuck->Post(holders.Hold(0)));
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(stuck->Post([] {}));
    }
    ASSERT_TRUE(other->Post([&] { ran.Raise(); }));
    EXPECT_TRUE(ran.Await());
    holders.Release();
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
}

TEST(Strand, KeepsItsWordThroughAShutdown) {
    // Posts race the shutdown; what a post accepted runs, what it refused does not.
    for (int round = 0; round < 30; ++round) {
        const auto pool = std::make_shared<ThreadPool>(2, 2);
        const auto strand = std::make_shared<Strand>(*pool);
        std::atomic<int> accepted{0};
        std::atomic<int> ran{0};
        std::deque<std::thread> posters;
        for (int i = 0; i < 2; ++i) {
            posters.emplace_back([&] {
                while (strand->Post([&] { ++ran; })) {
                    ++accepted;
                }
            });
        }
        while (accepted == 0) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
        for (std::thread& poster : posters) {
            poster.join();
        }
        ASSERT_EQ(accepted, ran);
    }
}

TEST(Strand, TasksThatPostToItRunAfterwardsInline) {
    InlineExecutor executor;
    const auto strand = std::make_shared<Strand>(executor);
    std::string order;
    EXPECT_TRUE(strand->Post([&] {
        EXPECT_TRUE(strand->Post([&] { order += "b"; }));
        order += "a";
    }));
    EXPECT_EQ("ab", order);
}

}  // namespace
}  // namespace orva::reference
