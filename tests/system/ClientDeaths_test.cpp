/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Processes that end, stop or hang at every step of the protocol, and those that live on.

#include <sys/syscall.h>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

class ClientDeaths : public SystemTest {
protected:
    // Who finds room can tell what the host still counts.
    void startSmallHost(int clients, const std::string& idleTimeout,
                        const std::string& callbackTimeout) {
        startHost({"--log-level", "info", "--max-clients", std::to_string(clients),
                   "--idle-timeout", idleTimeout, "--callback-timeout", callbackTimeout});
    }

    // By death, once.
    void expectRemoved(const ClientProcess& client) {
        const std::string id = client.idOf(1);
        EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
        EXPECT_EQ(host().log().count("AIClient " + id + " is inactive"), 1U);
    }

    // Opens a session as soon as the time of another has run out, which is evicted.
    static void expectEviction(ClientProcess& client, int session) {
        const std::string step = "init " + std::to_string(session) + " echo";
        EXPECT_TRUE(eventually([&] { return client.ask(step) == "0"; }));
    }
};

TEST_F(ClientDeaths, KilledAtEachStep) {
    using Steps = std::vector<std::pair<const char*, const char*>>;
    const struct {
        const char* name;
        Steps steps;
        const char* last;  // which is not waited for, when the host is frozen
    } cases[] = {
            {"connected only", {{"send 1 1", "2"}}, nullptr},
            {"listening", {{"init 1 echo", "0"}, {"set-listener 1", "0"}}, nullptr},
            {"served", {{"session 1", "000"}, {"send 1 4096", "0"}, {"await", "0 same"}}, nullptr},
            {"its request not read by the host", {{"session 1", "000"}}, "send 1 65536"},
            {"inside its callback, requests waiting",
             {{"session 1", "000"}, {"hold 1 65536", "0"}, {"send 1 4", "0"}, {"send 1 4", "0"}},
             nullptr},
    };
    startSmallHost(2, "600", "600");
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
        if (each.steps.size() > 1 || each.last != nullptr) {
            expectRemoved(*client);
        }
        expectSettled();
        expectRoomFor(2);
    }
    EXPECT_TRUE(host().log().await("AIServiceHIDL call OnProcessDone isOk error"));
}

// Before a listener is registered nothing tells the host of a session's end: it goes when its time
// has run out and another client needs the room.
TEST_F(ClientDeaths, WithoutAListenerTheSessionIsLeftToTheTimeOut) {
    startSmallHost(1, "0.2", "600");
    auto client = newClient();
    ASSERT_EQ(client->ask("init 1 echo"), "0");
    const std::string id = client->idOf(1);
    client->kill();
    client = newClient();
    expectEviction(*client, 1);
    EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
    EXPECT_EQ(client->ask("uninit 1"), "0");
}

TEST_F(ClientDeaths, SessionClosedWhileItsResultsArrive) {
    startHost();
    const auto client = newClient();
    for (int round = 0; round < (kSanitized ? 20 : 100); ++round) {
        ASSERT_EQ(client->ask("session 1"), "000");
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(client->ask("send 1 65536"), "0");
        }
        ASSERT_EQ(client->ask("uninit 1"), "0");
        EXPECT_EQ(client->ask("send 1 65536"), "2");
    }
    expectServed(*client);
}

// Evicted while its result is being taken and another request waits.
TEST_F(ClientDeaths, EvictedWhileItsResultsArrive) {
    startSmallHost(1, "0.001", "600");
    const auto client = newClient();
    const auto rival = newClient();
    ASSERT_EQ(client->ask("session 1"), "000");
    ASSERT_EQ(client->ask("hold 1 4096"), "0");
    ASSERT_EQ(client->ask("send 1 4096"), "0");
    expectEviction(*rival, 1);
    const std::string id = client->idOf(1);
    EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
    EXPECT_EQ(client->ask("let-go"), "0");
    EXPECT_EQ(client->ask("await"), "0 same");
    EXPECT_TRUE(host().log().await("OnProcessDone not find the listener " + id));
    EXPECT_EQ(client->ask("send 1 4096"), "2");
}

// It neither answers nor dies. Others are served meanwhile, and it is cut off in the end.
TEST_F(ClientDeaths, FrozenInsideOnProcessDone) {
    startSmallHost(2, "600", "1");
    const auto frozen = newClient();
    ASSERT_EQ(frozen->ask("session 1"), "000");
    ASSERT_EQ(frozen->ask("hold 1 4096"), "0");
    frozen->freeze();
    expectServed(*newClient());
    expectRemoved(*frozen);
    EXPECT_TRUE(host().log().await("is cut off: it took too long to answer"));
    frozen->thaw();
    EXPECT_EQ(frozen->ask("let-go"), "0");
    EXPECT_EQ(frozen->ask("send 1 4096"), "dead");
    EXPECT_EQ(frozen->ask("await-death"), "died");
    EXPECT_EQ(frozen->finish(), 0);
    expectRoomFor(2);
}

// More frozen clients than the host has threads, and none of them is given up.
TEST_F(ClientDeaths, ManyFrozenClientsHoldUpNobody) {
    startHost({"--log-level", "info", "--threads", "4", "--callback-timeout", "600"});
    std::vector<std::unique_ptr<ClientProcess>> frozen;
    for (int i = 0; i < 12; ++i) {
        frozen.push_back(newClient());
        ASSERT_EQ(frozen.back()->ask("session 1"), "000");
        ASSERT_EQ(frozen.back()->ask("hold 1 4096"), "0");
        frozen.back()->freeze();
    }
    expectServed(*newClient());
    for (const auto& client : frozen) {
        client->kill();
        expectRemoved(*client);
    }
}

}  // namespace

}  // namespace orva::test
