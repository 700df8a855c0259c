/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/Client.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "Support.h"
#include "service/ConnectionTable.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;
using test::Child;

TEST(Client, IsTheProcessAndNotItsNumber) {
    const Child child;
    const auto client = Client::Of(child.pid());
    EXPECT_EQ(client, Client::Of(child.pid()));
    EXPECT_FALSE(client->HasGone());
    child.AwaitEnd();
    EXPECT_TRUE(client->HasGone()) << "although nobody has waited for it";
    EXPECT_NE(client, Client::Of(child.pid())) << "whoever has the number now";
    EXPECT_FALSE(Client::Of(0)->HasGone());
}

TEST(Quota, BoundsEachAndAllAndNobodyOnlyTogether) {
    Quota quota("things", 3, "--each", 5, "--all");
    Holding one(quota, 1), nobody(quota, 0);
    EXPECT_TRUE(one.Take(3));
    EXPECT_FALSE(one.Take());
    EXPECT_TRUE(nobody.Take(2));
    EXPECT_FALSE(nobody.Take()) << "all have five";
    {
        quota.SetAll(SIZE_MAX);
        quota.SetEach(0);
        Holding other(quota, 2);
        EXPECT_TRUE(other.Take(100));
        EXPECT_FALSE(other.Take(SIZE_MAX)) << "sums do not wrap";
        EXPECT_EQ(105U, quota.held());
    }
    one.Give(3);
    EXPECT_EQ(2U, quota.held()) << "who goes leaves nothing";
}

TEST(ConnectionTable, TheDeadMakeWayAtOnceAndBeforeTheIdle) {
    ConnectionTable::Clock::time_point now{};
    ConnectionTable table([&] { return now; });
    table.SetTimeout(10s);
    const Child dead, zombie;
    const std::string idle = std::to_string(getpid()) + ":1";
    const auto idOf = [](const Child& child, int number) {
        return std::to_string(child.pid()) + ":" + std::to_string(number);
    };
    const std::pair<std::string, std::chrono::seconds> touches[] = {{"nonsense", 20s},
                                                                    {idle, 1s},
                                                                    {idOf(zombie, 1), 2s},
                                                                    {idOf(dead, 1), 3s},
                                                                    {idOf(zombie, 2), 5s}};
    for (const auto& [id, time] : touches) {
        now = ConnectionTable::Clock::time_point() + time;
        table.Touch(id);
    }
    now = ConnectionTable::Clock::time_point() + 6s;
    EXPECT_EQ("", table.TimedOut()) << "all live, and none for long";
    dead.AwaitEnd();
    zombie.AwaitEnd();
    EXPECT_EQ(idOf(zombie, 1), table.TimedOut());
    EXPECT_EQ(idOf(dead, 1), table.TimedOut());
    EXPECT_EQ(idOf(zombie, 2), table.TimedOut());
    EXPECT_EQ("", table.TimedOut());
    now += 5s;
    EXPECT_EQ(idle, table.TimedOut());
    EXPECT_EQ(idle, table.TimedOut()) << "it still lives";
    EXPECT_EQ(2U, table.Count());
}

}  // namespace
}  // namespace orva::reference
