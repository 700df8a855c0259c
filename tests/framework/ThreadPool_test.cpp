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
using test::Await;

// Holds the thread that runs it until it lets it go. Declared before the pool, which ends first.
struct Holder {
    void operator()() {
        started = true;
        EXPECT_TRUE(Await(release));
    }
    std::atomic<bool> started{false}, release{false};
};

TEST(ThreadPool, ThreadsStandInForBlockedOnesAndLeaveAgain) {
    Holder holders[4];
    ThreadPool pool(1, 3);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(pool.Post([&, i] {
            const BlockingScope scope(pool);
            holders[i]();
        }));
        ASSERT_TRUE(Await(holders[i].started)) << i;
    }
    // That was the last one it may have.
    ASSERT_TRUE(pool.Post(std::ref(holders[3])));
    EXPECT_EQ(3u, pool.Threads());
    for (Holder& holder : holders) {
        holder.release = true;
    }
    EXPECT_TRUE(Await(holders[3].started));
    EXPECT_TRUE(test::eventually([&] { return pool.Threads() == 1; }));
}

TEST(ThreadPool, ThreadsAtWorkAreNotStoodInFor) {
    Holder busy;
    std::atomic<bool> ran{false};
    ThreadPool pool(1, 3);
    ASSERT_TRUE(pool.Post(std::ref(busy)));
    ASSERT_TRUE(Await(busy.started));
    ASSERT_TRUE(pool.Post([&] { ran = true; }));
    // Five times as long as the pool lets tasks wait for blocked threads.
    EXPECT_FALSE(pool.Shutdown(50ms));
    EXPECT_FALSE(ran);
    busy.release = true;
    EXPECT_TRUE(pool.Shutdown(test::kWatchdog));
    EXPECT_TRUE(ran);
}

// What one owner does keeps no other waiting: neither its slow tasks nor their number.
TEST(ThreadPool, OwnersTakeTurnsAndSlowTasksAreStoodInFor) {
    Holder slow[4];
    std::atomic<int> ran{0};
    std::atomic<bool> other{false};
    const int one = 0, two = 0;
    ThreadPool pool(2, 8);
    for (Holder& holder : slow) {
        ASSERT_TRUE(pool.PostFor(&one, std::ref(holder)));
    }
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(pool.PostFor(&one, [&] { ++ran; }));
    }
    ASSERT_TRUE(Await(slow[1].started));
    ASSERT_TRUE(pool.PostFor(&two, [&] { other = true; }));
    EXPECT_TRUE(Await(other)) << "although two slow ones run and many wait";
    EXPECT_FALSE(slow[2].started) << "its owner runs as many as the pool has threads for";
    EXPECT_EQ(0, ran);
    for (Holder& holder : slow) {
        holder.release = true;
    }
    EXPECT_TRUE(test::eventually([&] { return ran == 50; }));
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
