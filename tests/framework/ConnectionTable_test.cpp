/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "service/ConnectionTable.h"

#include <gtest/gtest.h>
#include <orva/AIServiceConnectManager.h>
#include <orva/reference/Settings.h>

namespace orva::reference {
namespace {

using namespace std::chrono_literals;

class ConnectionTableTest : public testing::Test {
protected:
    ConnectionTable::Clock::time_point now_{1h};
    ConnectionTable table_{[this] { return now_; }};
};

TEST_F(ConnectionTableTest, CountsIdsUpToTheLimit) {
    table_.SetLimit(2);
    table_.Touch("1:1");
    table_.Touch("1:1");
    EXPECT_TRUE(table_.HasRoom());
    table_.Touch("1:2");
    EXPECT_FALSE(table_.HasRoom());
    // Admission is the services' business: what they do admit is counted.
    table_.Touch("1:3");
    EXPECT_EQ(3u, table_.Count());
    table_.Remove("1:3");
    table_.Remove("9:9");
    EXPECT_FALSE(table_.HasRoom());
    table_.Remove("1:1");
    EXPECT_TRUE(table_.HasRoom());
    EXPECT_EQ(1u, table_.Count());
}

TEST_F(ConnectionTableTest, NamesTheLongestIdleOfThoseTimedOut) {
    table_.SetTimeout(10min);
    EXPECT_EQ("", table_.TimedOut());
    table_.Touch("b");
    now_ += 1min;
    table_.Touch("a");
    now_ += 1min;
    table_.Touch("c");
    now_ += 8min - 1ns;
    EXPECT_EQ("", table_.TimedOut());
    now_ += 1ns;
    EXPECT_EQ("b", table_.TimedOut());
    now_ += 1h;
    EXPECT_EQ("b", table_.TimedOut());
    // A sign of life takes it to the end of the row; removal takes it out.
    table_.Touch("b");
    EXPECT_EQ("a", table_.TimedOut());
    table_.Remove("a");
    EXPECT_EQ("c", table_.TimedOut());
    table_.Remove("c");
    EXPECT_EQ("", table_.TimedOut());
}

TEST(AIServiceConnectManager, FollowsTheSettings) {
    AIServiceConnectManager& manager = *AIServiceConnectManager::GetInstance();
    ASSERT_EQ(0u, ClientCount());
    SetClientLimit(1);
    SetIdleTimeout(1h);
    EXPECT_TRUE(manager.CheckServiceNum());
    manager.UpdateServiceTime("1:1");
    EXPECT_EQ(1u, ClientCount());
    EXPECT_FALSE(manager.CheckServiceNum());
    EXPECT_EQ("", manager.GetTimeoutServiceId());
    SetIdleTimeout(0ns);
    EXPECT_EQ("1:1", manager.GetTimeoutServiceId());
    manager.RemoveServiceTime("1:1");
    EXPECT_EQ(0u, ClientCount());
    SetClientLimit(512);
    SetIdleTimeout(10min);
}

}  // namespace
}  // namespace orva::reference
