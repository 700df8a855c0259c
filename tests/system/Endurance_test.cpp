/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What many clients, good and dead ones, leave behind in the host: nothing.

#include <random>

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

}  // namespace

}  // namespace orva::test
