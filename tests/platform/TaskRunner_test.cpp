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

TEST(TaskRunner, RunsInOrderWhatItTookAndRefusesWhatExceedsItsLimit) {
    std::promise<void> started;
    std::promise<void> release;
    std::vector<int> order;
    {
        TaskRunner runner;
        EXPECT_FALSE(runner.push([] {})) << "before it is started";
        runner.start(2);
        ASSERT_TRUE(runner.push([&] {
            started.set_value();
            release.get_future().wait();
        }));
        started.get_future().wait();  // From here on it waits no longer and takes no place.
        for (const int i : {1, 2, 3}) {
            EXPECT_EQ(i < 3, runner.push([&order, i] { order.push_back(i); }));
        }
        release.set_value();
    }
    EXPECT_EQ((std::vector<int>{1, 2}), order);
}

}  // namespace
