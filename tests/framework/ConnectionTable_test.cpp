/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "service/ConnectionTable.h"

#include <gtest/gtest.h>

namespace orva::reference {
namespace {

using namespace std::chrono_literals;

TEST(ConnectionTable, NamesTheLongestIdleOfThoseTimedOut) {
    ConnectionTable::Clock::time_point now{1h};
    ConnectionTable table([&] { return now; });
    table.SetTimeout(10min);
    table.Touch("b");
    now += 1min;
    table.Touch("a");
    now += 9min - 1ns;
    EXPECT_EQ("", table.TimedOut());
    now += 1ns;
    EXPECT_EQ("b", table.TimedOut());
    now += 1h;
    // A sign of life takes it to the end of the row; removal takes it out.
    table.Touch("b");
    EXPECT_EQ("a", table.TimedOut());
    table.Remove("a");
    EXPECT_EQ("", table.TimedOut());
}

}  // namespace
}  // namespace orva::reference
