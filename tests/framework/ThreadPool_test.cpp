/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <thread>

#include "Support.h"
#include "executor/Strand.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;
using test::Flag;

// Holds the threads that run its tasks until it lets them go. Declared before the pool, which ends
// first.
struct Holder {
    Executor::Task Task(Executor* blocking = nullptr) {
        return [this, blocking] {
            std::unique_ptr<BlockingScope> scope;
            if (blocking != nullptr) {
                scope = std::make_unique<BlockingScope>(*blocking);
            }
            started.Raise();
            EXPECT_TRUE(release.Await());
        };
    }

    Flag started;
    Flag release;
};

TEST(ThreadPool, ThreadsStandInForBlockedOnesAndLeaveAgain) {
    Holder holders[4];
    ThreadPool pool(1, 3);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(pool.Post(holders[i].Task(&pool)));
        ASSERT_TRUE(holders[i].started.Await()) << i;
    }
    // That was the last one it may have.
    ASSERT_TRUE(pool.Post(holders[3].Task(&pool)));
    EXPECT_EQ(3u, pool.Threads());
    for (Holder& holder : holders) {
        holder.release.Raise();
    }
    EXPECT_TRUE(holders[3].started.Await());
    const auto end = std::chrono::steady_clock::now() + test::kWatchdog;
    while (pool.Threads() != 1 && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_EQ(1u, pool.Threads());
}

TEST(ThreadPool, ThreadsAtWorkAreNotStoodInFor) {
    Holder busy;
    std::atomic<bool> ran{false};
    ThreadPool pool(1, 3);
    ASSERT_TRUE(pool.Post(busy.Task()));
    ASSERT_TRUE(busy.started.Await());
    ASSERT_TRUE(pool.Post([&] { ran = true; }));
    // Five times as long as the pool lets tasks wait for blocked threads.
    EXPECT_FALSE(pool.Shutdown(50ms));
    EXPECT_FALSE(ran);
    busy.release.Raise();
    EXPECT_TRUE(pool.Shutdown(test::kWatchdog));
    EXPECT_TRUE(ran);
}

TEST(Strand, RunsOneTaskAtATimeInOrder) {
    const auto pool = std::make_shared<ThreadPool>(4, 4);
    struct Lane {
        std::shared_ptr<Strand> strand;
        std::atomic<int> inside{0};
        std::vector<int> order;
    };
    std::deque<Lane> lanes(5);
    for (Lane& lane : lanes) {
        lane.strand = std::make_shared<Strand>(*pool);
    }
    for (int i = 0; i < 2000; ++i) {
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
        ASSERT_EQ(2000U, lane.order.size());
        EXPECT_TRUE(std::is_sorted(lane.order.begin(), lane.order.end()));
    }
}

TEST(Strand, OccupiesOneThreadAtMost) {
    Holder holder;
    Flag ran;
    const auto pool = std::make_shared<ThreadPool>(2, 2);
    const auto stuck = std::make_shared<Strand>(*pool);
    const auto other = std::make_shared<Strand>(*pool);
    ASSERT_TRUE(stuck->Post(holder.Task()));
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(stuck->Post([] {}));
    }
    ASSERT_TRUE(other->Post([&] { ran.Raise(); }));
    EXPECT_TRUE(ran.Await());
    holder.release.Raise();
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
        ASSERT_EQ(0u, pool->Threads());
    }
}

}  // namespace
}  // namespace orva::reference
