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
constexpr int kIdleSessions = 500;
constexpr size_t kIdleSessionKiB = 16;
// What the host admits here, so that whoever is left behind is missed.
constexpr int kRoom = 8;
// Threads that serve calls and those that wait for clients, at most; see the host's options.
constexpr size_t kMostThreads = 8 + 16;

class Endurance : public SystemTest {
protected:
    void startSmallHost() {
        startHost({"--max-clients", std::to_string(kRoom), "--idle-timeout", "600"});
        before = host().state();
        // Its threads and the heap get to their usual size.
        warmUp();
        expectSettled(before);
    }

    void warmUp() {
        std::vector<std::unique_ptr<ClientProcess>> clients;
        for (int i = 0; i < 4; ++i) {
            clients.push_back(newClient());
            clients.back()->begin("rounds 20");
        }
        for (const auto& client : clients) {
            EXPECT_EQ(client->answer(), "0");
            EXPECT_EQ(client->finish(), 0);
        }
    }

    void expectNothingLeft() {
        expectSettled(before);
        const ProcessState now = host().state();
        EXPECT_LE(now.threads, kMostThreads) << now;
        const auto client = newClient();
        // Every place is free.
        for (int i = 1; i <= kRoom; ++i) {
            EXPECT_EQ(client->ask("init " + std::to_string(i) + " echo"), "0") << i;
        }
        EXPECT_EQ(client->ask("init 100 echo"), "1");
        for (int i = 1; i <= kRoom; ++i) {
            EXPECT_EQ(client->ask("uninit " + std::to_string(i)), "0");
        }
        EXPECT_EQ(client->finish(), 0);
        std::cout << "before: " << before << "\nafter:  " << now << "\n";
    }

    ProcessState before;
};

TEST_F(Endurance, RoundsLeaveNothing) {
    startSmallHost();
    const auto one = newClient();
    const auto two = newClient();
    const std::string half = "rounds " + std::to_string(kRounds / 2);
    one->begin(half);
    two->begin(half);
    EXPECT_EQ(one->answer(), "0");
    EXPECT_EQ(two->answer(), "0");
    EXPECT_EQ(one->finish(), 0);
    EXPECT_EQ(two->finish(), 0);
    expectNothingLeft();
}

TEST_F(Endurance, ClientsKilledAmidRequestsLeaveNothing) {
    constexpr int kAtOnce = 4;
    startSmallHost();
    std::mt19937 random(17);
    for (int killed = 0; killed < kKills && !HasFailure();) {
        std::vector<std::unique_ptr<ClientProcess>> clients;
        for (int i = 0; i < kAtOnce; ++i) {
            clients.push_back(newClient());
            clients.back()->begin("requests");
        }
        for (const auto& client : clients) {
            for (unsigned requests = random() % 8 + 1; requests > 0; --requests) {
                ASSERT_EQ(client->answer(), "done");
            }
            client->kill();
            ++killed;
        }
        // There is room again only when the host has heard of their end.
        expectSettled(before);
    }
    expectNothingLeft();
}

TEST_F(Endurance, IdleSessionsAreSmall) {
    if (kSanitized) {
        GTEST_SKIP() << "a sanitizer's own memory would be measured";
    }
    constexpr int kProcesses = 5;
    startHost({"--max-clients", std::to_string(kIdleSessions + kRoom)});
    warmUp();
    std::vector<std::unique_ptr<ClientProcess>> clients;
    for (int i = 0; i < kProcesses; ++i) {
        clients.push_back(newClient());
        EXPECT_EQ(clients.back()->ask("rounds 20"), "0");
    }
    before = host().state();
    for (const auto& client : clients) {
        EXPECT_EQ(client->ask("open 1 " + std::to_string(kIdleSessions / kProcesses)), "0");
    }
    const ProcessState now = host().state();
    const size_t grown = now.residentKiB - std::min(now.residentKiB, before.residentKiB);
    std::cout << "before: " << before << "\nwith " << kIdleSessions << " sessions: " << now
              << "\na session costs " << static_cast<double>(grown) / kIdleSessions << " KiB\n";
    EXPECT_LE(grown, kIdleSessionKiB * kIdleSessions);
    EXPECT_LE(now.threads, kMostThreads) << "no thread is a session's own";
    for (const auto& client : clients) {
        EXPECT_EQ(client->finish(), 0);
    }
}

}  // namespace

}  // namespace orva::test
