/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/TaskRunner.h>

#include <future>
#include <vector>

#include <gtest/gtest.h>

namespace {

using android::hardware::details::TaskRunner;

TEST(TaskRunner, RunsEverythingInOrderBeforeItEnds) {
    std::vector<int> order;
    {
        TaskRunner runner;
        runner.start(100);
        for (int i = 0; i < 100; ++i) {
            ASSERT_TRUE(runner.push([&order, i] { order.push_back(i); }));
        }
    }
    ASSERT_EQ(100u, order.size());
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(i, order[i]);
    }
}

TEST(TaskRunner, RefusesWhatExceedsItsLimit) {
    std::promise<void> started;
    std::promise<void> release;
    int ran = 0;
    {
        TaskRunner runner;
        runner.start(2);
        ASSERT_TRUE(runner.push([&] {
            started.set_value();
            release.get_future().wait();
        }));
        started.get_future().wait();  // From here on it waits no longer and takes no place.
        EXPECT_TRUE(runner.push([&] { ++ran; }));
        EXPECT_TRUE(runner.push([&] { ++ran; }));
        EXPECT_FALSE(runner.push([&] { ++ran; }));
        release.set_value();
    }
    EXPECT_EQ(2, ran);
}

TEST(TaskRunner, TakesNothingBeforeItIsStarted) {
    TaskRunner runner;
    EXPECT_FALSE(runner.push([] {}));
}

}  // namespace
