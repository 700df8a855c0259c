/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/Client.h"

#include <gtest/gtest.h>
#include <orva/AIModelManagerFactory.h>
#include <orva/AINNNodeFactory.h>
#include <orva/reference/Settings.h>
#include <unistd.h>

#include "Support.h"
#include "service/ConnectionTable.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;
using test::Child;

class CallingProcess {
public:
    explicit CallingProcess(pid_t pid) {
        UseClientIdentity([pid] { return pid; });
    }
    ~CallingProcess() { UseClientIdentity({}); }
};

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

TEST(Sessions, AreBoundedForEachProcessOverNodesAndModelManagers) {
    SetClientSessions(3);
    auto* const nodes = AINNNodeFactory::GetInstance();
    auto* const managers = AIModelManagerFactory::Instance();
    const auto manager = [&] {
        return std::shared_ptr<AIModelManager>(managers->createModelManager());
    };
    {
        const CallingProcess caller(getpid());
        auto first = nodes->CreateNNNode("echo");
        const auto second = manager(), third = manager();
        ASSERT_TRUE(first != nullptr && second != nullptr && third != nullptr);
        EXPECT_EQ(nullptr, nodes->CreateNNNode("echo"));
        EXPECT_EQ(nullptr, manager());
        first.reset();
        EXPECT_NE(nullptr, manager()) << "and it is gone at once";
        EXPECT_NE(nullptr, manager());
        const CallingProcess other(getppid());
        EXPECT_NE(nullptr, nodes->CreateNNNode("echo")) << "another's";
    }
    SetClientSessions(128);
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

TEST(ConnectionTable, AProcessCannotFillItWithoutSessions) {
    const CallingProcess caller(getpid());
    ConnectionTable table;
    table.SetSpare(2);
    const std::string own = std::to_string(getpid()) + ":";
    for (const char* number : {"1", "2", "3", "1"}) {
        table.Touch(own + number);
    }
    table.Touch(std::to_string(getppid()) + ":1");
    EXPECT_EQ(3U, table.Count());
    const auto node = AINNNodeFactory::GetInstance()->CreateNNNode("echo");
    table.Touch(own + "4");
    table.Touch(own + "5");
    EXPECT_EQ(4U, table.Count()) << "one for the session";
}

}  // namespace
}  // namespace orva::reference
