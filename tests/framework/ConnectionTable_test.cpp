/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "service/ConnectionTable.h"

#include <gtest/gtest.h>

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
    table_.Touch("1:3");  // Admission is the services' business: what they do admit is counted.
    EXPECT_EQ(3u, table_.Count());
    table_.Remove("1:3");
    EXPECT_FALSE(table_.HasRoom());
    table_.Remove("1:1");
    EXPECT_TRUE(table_.HasRoom());
}

TEST_F(ConnectionTableTest, NamesTheLongestIdleOfThoseTimedOut) {
    table_.SetTimeout(10min);
    table_.Touch("b");
    now_ += 1min;
    table_.Touch("a");
    now_ += 9min - 1ns;
    EXPECT_EQ("", table_.TimedOut());
    now_ += 1ns;
    EXPECT_EQ("b", table_.TimedOut());
    now_ += 1h;
    EXPECT_EQ("b", table_.TimedOut());
    // A sign of life takes it to the end of the row; removal takes it out.
    table_.Touch("b");
    EXPECT_EQ("a", table_.TimedOut());
    table_.Remove("a");
    EXPECT_EQ("", table_.TimedOut());
}

}  // namespace
}  // namespace orva::reference
