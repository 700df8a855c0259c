/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Clients that end or hang at every step of the protocol, and what very many leave behind: nothing.

#include <random>

#include <sys/syscall.h>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

class ClientDeaths : public SystemTest {
protected:
    // By death, once.
    void expectRemoved(const ClientProcess& client) {
        const std::string id = std::to_string(client.pid()) + ":1";
        EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
        EXPECT_EQ(host().log().count("AIClient " + id + " is inactive"), 1U);
    }
};

TEST_F(ClientDeaths, KilledAtEachStep) {
    using Steps = std::vector<std::pair<const char*, const char*>>;
    const struct {
        const char* name;
        Steps steps;
        const char* last = nullptr;  // which is not waited for, when the host is frozen
    } cases[] = {
            {"connected only", {{"send 1 1", "2"}}},
            {"listening", {{"init 1 echo", "0"}, {"set-listener 1", "0"}}},
            {"served", {{"session 1", "000"}, {"send 1 4096", "0"}, {"await", "0 same"}}},
            {"its request not read by the host", {{"session 1", "000"}}, "send 1 65536"},
            {"inside its callback, requests waiting",
             {{"session 1", "000"}, {"hold 1 65536", "0"}, {"send 1 4", "0"}, {"send 1 4", "0"}}},
    };
    startHost({"--log-level", "info", "--max-clients", "2"});
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const auto client = newClient();
        for (const auto& [step, outcome] : each.steps) {
            ASSERT_EQ(client->ask(step), outcome);
        }
        if (each.last != nullptr) {
            host().freeze();
            client->write(each.last);
            EXPECT_TRUE(eventually([&] { return client->waitsIn(SYS_recvmsg); }));
        }
        client->kill();
        if (each.last != nullptr) {
            host().thaw();
        }
        if (&each != cases) {
            expectRemoved(*client);
        }
        expectSettled();
        expectRoomFor(2);
    }
    EXPECT_TRUE(host().log().await("AIServiceHIDL call OnProcessDone isOk error"));
}

// More clients than the host has threads, none of which answers or dies. Others are served
// meanwhile, and they are cut off in the end.
TEST_F(ClientDeaths, FrozenInsideTheirCallbacks) {
    startHost({"--log-level", "info", "--threads", "4", "--callback-timeout", "5"});
    std::vector<std::unique_ptr<ClientProcess>> frozen;
    for (int i = 0; i < 12; ++i) {
        frozen.push_back(newClient());
        ASSERT_EQ(frozen.back()->ask("session 1"), "000");
        ASSERT_EQ(frozen.back()->ask("hold 1 4096"), "0");
        frozen.back()->freeze();
    }
    expectServed(*newClient());
    EXPECT_TRUE(host().log().await("is cut off: it took too long to answer", frozen.size()));
    for (const auto& client : frozen) {
        expectRemoved(*client);
        client->thaw();
        EXPECT_EQ(client->ask("let-go"), "0");
        EXPECT_EQ(client->ask("send 1 4096"), "dead");
        EXPECT_EQ(client->ask("await-death"), "died");
        EXPECT_EQ(client->finish(), 0);
    }
}

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
        EXPECT_LE(ProcessState::of(host().pid()).threads, kMostThreads);
        expectRoomFor(kRoom);
        SystemTest::TearDown();
    }

    std::vector<std::unique_ptr<ClientProcess>> fourAtOnce(const std::string& step) {
        std::vector<std::unique_ptr<ClientProcess>> clients;
        for (int i = 0; i < 4; ++i) {
            clients.push_back(newClient());
            clients.back()->write(step);
        }
        return clients;
    }
};

TEST_F(Endurance, KilledClientsLeaveNothing) {
    std::mt19937 random(17);
    for (int killed = 0; killed < 2 * kKills && !HasFailure(); killed += 4) {
        // Of either service, amid whatever they do then.
        for (const auto& client : fourAtOnce(killed % 8 == 0 ? "requests" : "managed")) {
            for (unsigned done = random() % 8 + 1; done > 0; --done) {
                ASSERT_EQ(client->answer(), "done");
            }
            client->kill();
        }
        // There is room again only when the host has heard of their end.
        expectSettled();
    }
}

}  // namespace

}  // namespace orva::test
