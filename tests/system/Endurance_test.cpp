/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What many clients, good and dead ones, and large requests leave behind in the host: nothing.

#include <random>

#include "client/lib/ManagerSession.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

constexpr int kRounds = kSanitized ? 200 : 1000;
constexpr int kKills = kSanitized ? 30 : 200;
// What the host admits here, so that whoever is left behind is missed.
constexpr int kRoom = 8;
// Threads that serve calls and those that wait for clients, at most; see the host's options.
constexpr size_t kMostThreads = 8 + 16;

class Endurance : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost({"--max-clients", std::to_string(kRoom), "--idle-timeout", "600"});
    }
    void TearDown() override {
        const ProcessState now = ProcessState::of(host().pid());
        EXPECT_LE(now.threads, kMostThreads) << now;
        expectRoomFor(kRoom);
        SystemTest::TearDown();
    }

    std::vector<std::unique_ptr<ClientProcess>> beginAtOnce(size_t count, const std::string& step) {
        std::vector<std::unique_ptr<ClientProcess>> clients;
        while (clients.size() < count) {
            clients.push_back(newClient());
            clients.back()->write(step);
        }
        return clients;
    }
};

TEST_F(Endurance, RoundsLeaveNothing) {
    for (const auto& client : beginAtOnce(4, "rounds " + std::to_string(kRounds / 4))) {
        EXPECT_EQ(client->answer(), "0");
        EXPECT_EQ(client->finish(), 0);
    }
}

class KilledClients : public Endurance, public testing::WithParamInterface<const char*> {};

TEST_P(KilledClients, LeaveNothing) {
    std::mt19937 random(17);
    for (int killed = 0; killed < kKills && !HasFailure(); killed += 4) {
        for (const auto& client : beginAtOnce(4, GetParam())) {
            for (unsigned done = random() % 8 + 1; done > 0; --done) {
                ASSERT_EQ(client->answer(), "done");
            }
            client->kill();
        }
        // There is room again only when the host has heard of their end.
        expectSettled();
    }
}

INSTANTIATE_TEST_SUITE_P(Amid, KilledClients, testing::Values("requests", "builds"));

using ModelManagers = SystemTest;

TEST_F(ModelManagers, TwoHundredAndOneSessionsOfManyProcesses) {
    startHost({"--log-level", "info", "--max-clients", "300"});
    std::vector<std::unique_ptr<ClientProcess>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(newClient());
        ASSERT_EQ(clients.back()->ask("manage 1 67"), "0");
    }
    const ProcessState now = ProcessState::of(host().pid());
    EXPECT_LE(now.threads, kMostThreads) << "no thread is a session's own";
    const auto late = newClient();
    EXPECT_EQ(late->ask("manage 1 1"), "1");
    EXPECT_TRUE(host().log().await("AIModelManagerImpl count more than 200"));
    EXPECT_EQ(clients[1]->ask("unmanage 5"), "0");
    EXPECT_EQ(late->ask("manage 1 1"), "0");
    EXPECT_EQ(late->ask("manage 2 1"), "1");
}

// As large as a build may be, of sparse regions: nobody has written to them, and what is no model
// is refused.
TEST_F(ModelManagers, LargestBuildLeavesNothing) {
    startHost();
    const auto service = client::findService<client::ModelManagerService>();
    client::ManagerSession session(service, 1, "", {});
    std::vector<client::Model> sources;
    for (int i = 0; i < 4; ++i) {
        sources.push_back({"", client::SharedRegion("source", client::kMostBuildBytes / 4)});
    }
    const client::SharedRegion output("output", 4096);
    EXPECT_THROW(session.build(sources, output), client::ServiceError);
    EXPECT_TRUE(host().log().await("BuildModel Build model failed!"));
    sources.push_back({"", client::SharedRegion("source", 1)});
    EXPECT_THROW(session.build(sources, output), client::ServiceError);
    EXPECT_TRUE(host().log().await("input model size [209715201] exceed limit: [209715200]"));
}

}  // namespace

}  // namespace orva::test
