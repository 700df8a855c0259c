/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Processes that end, stop or hang at every step of the protocol, and those that live on.

#include <csignal>

#include <orva_platform/Runtime.h>
#include <sys/syscall.h>

#include "client/lib/Session.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

std::string idOf(ClientProcess& client, int number) {
    return std::to_string(client.process().pid()) + ":" + std::to_string(number);
}

class ClientDeaths : public SystemTest {
protected:
    // Room for two clients: who finds room can tell what the host still counts.
    void startSmallHost(const std::string& idleTimeout) {
        startHost({"--log-level", "info", "--max-clients", "2", "--idle-timeout", idleTimeout,
                   "--callback-timeout", "1"});
    }

    // Takes a client as far as a session with its listeners.
    static void openSession(ClientProcess& client) {
        ASSERT_EQ(client.ask("init 1 echo"), "0");
        ASSERT_EQ(client.ask("set-listener 1"), "0");
        ASSERT_EQ(client.ask("node-listener 1"), "0");
    }

    // Both places are free, so no session is left.
    void expectNoSessions() {
        const auto first = newClient();
        const auto second = newClient();
        EXPECT_EQ(first->ask("init 1 echo"), "0");
        EXPECT_EQ(second->ask("init 1 echo"), "0");
        EXPECT_EQ(first->ask("init 2 echo"), "1");
        EXPECT_EQ(first->ask("uninit 1"), "0");
        EXPECT_EQ(second->ask("uninit 1"), "0");
        EXPECT_EQ(first->finish(), 0);
        EXPECT_EQ(second->finish(), 0);
    }

    void expectRemoved(const std::string& id) {
        EXPECT_TRUE(host().log().await("AIClient " + id + " is inactive"));
        EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
        EXPECT_EQ(host().log().count("AIClient " + id + " is inactive"), 1u);
    }
};

// Before a listener is registered nothing tells the host of a session's end: it goes when its time
// has run out and another client needs the room.
TEST_F(ClientDeaths, WithoutAListenerTheSessionIsLeftToTheTimeOut) {
    startSmallHost("0.2");
    const ProcessState before = host().state();
    std::vector<std::string> ids;
    for (int i = 0; i < 2; ++i) {
        const auto client = newClient();
        ASSERT_EQ(client->ask("init 1 echo"), "0");
        ids.push_back(idOf(*client, 1));
        client->kill();
    }
    expectSettled(before);
    const auto client = newClient();
    // Each Init evicts one; until then there is no room.
    for (size_t i = 0; i < ids.size(); ++i) {
        std::string status = "1";
        const auto deadline = std::chrono::steady_clock::now() + kWatchdog;
        while (status == "1" && std::chrono::steady_clock::now() < deadline) {
            status = client->ask("init " + std::to_string(i + 1) + " echo");
        }
        EXPECT_EQ(status, "0");
        EXPECT_TRUE(host().log().await("RemoveService " + ids[i] + " Complete"));
    }
    EXPECT_EQ(client->ask("uninit 1"), "0");
    EXPECT_EQ(client->ask("uninit 2"), "0");
    EXPECT_EQ(client->finish(), 0);
    expectNoSessions();
}

TEST_F(ClientDeaths, ConnectedOnly) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto client = newClient();
    EXPECT_EQ(client->ask("send 1 1"), "2");
    client->kill();
    expectSettled(before);
    expectNoSessions();
}

TEST_F(ClientDeaths, AfterRegisteringTheListener) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto client = newClient();
    ASSERT_EQ(client->ask("init 1 echo"), "0");
    ASSERT_EQ(client->ask("set-listener 1"), "0");
    client->kill();
    expectRemoved(idOf(*client, 1));
    expectSettled(before);
    expectNoSessions();
}

TEST_F(ClientDeaths, AfterTheNodeListenerAndARequest) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto client = newClient();
    openSession(*client);
    ASSERT_EQ(client->ask("send 1 4096"), "0");
    ASSERT_EQ(client->ask("await"), "0 same");
    client->kill();
    expectRemoved(idOf(*client, 1));
    expectSettled(before);
    expectNoSessions();
}

// The request has left the client but the host has not read it yet.
TEST_F(ClientDeaths, DuringProcess) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto client = newClient();
    openSession(*client);
    host().process().freeze();
    client->begin("send 1 65536");
    EXPECT_TRUE(client->awaitWaitingFor(SYS_recvmsg));
    client->kill();
    host().process().thaw();
    expectRemoved(idOf(*client, 1));
    expectSettled(before);
    expectNoSessions();
}

// One result is being taken by the client, and another request waits behind it.
TEST_F(ClientDeaths, InsideOnProcessDoneWithRequestsAccepted) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto client = newClient();
    openSession(*client);
    ASSERT_EQ(client->ask("hold"), "0");
    ASSERT_EQ(client->ask("send 1 65536"), "0");
    ASSERT_EQ(client->ask("await-held"), "held");
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(client->ask("send 1 65536"), "0");
    }
    client->kill();
    expectRemoved(idOf(*client, 1));
    EXPECT_TRUE(host().log().await("AIServiceHIDL call OnProcessDone isOk error"));
    expectSettled(before);
    expectNoSessions();
}

TEST_F(ClientDeaths, SessionClosedWhileItsResultsArrive) {
    startHost();
    const auto client = newClient();
    for (int round = 0; round < (kSanitized ? 20 : 100); ++round) {
        openSession(*client);
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(client->ask("send 1 65536"), "0");
        }
        ASSERT_EQ(client->ask("uninit 1"), "0");
        EXPECT_EQ(client->ask("send 1 65536"), "2");
    }
    expectServed(*client);
    EXPECT_EQ(client->finish(), 0);
}

// Evicted while its result is being taken and another request waits.
TEST_F(ClientDeaths, EvictedWhileItsResultsArrive) {
    startHost({"--log-level", "info", "--max-clients", "1", "--idle-timeout", "0.001"});
    const auto client = newClient();
    const auto rival = newClient();
    openSession(*client);
    ASSERT_EQ(client->ask("hold"), "0");
    ASSERT_EQ(client->ask("send 1 4096"), "0");
    ASSERT_EQ(client->ask("await-held"), "held");
    ASSERT_EQ(client->ask("send 1 4096"), "0");
    std::string status = "1";
    const auto deadline = std::chrono::steady_clock::now() + kWatchdog;
    while (status == "1" && std::chrono::steady_clock::now() < deadline) {
        status = rival->ask("init 1 echo");
    }
    EXPECT_EQ(status, "0");
    const std::string id = idOf(*client, 1);
    EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
    EXPECT_EQ(client->ask("let-go"), "0");
    EXPECT_EQ(client->ask("await"), "0 same");
    EXPECT_TRUE(host().log().await("OnProcessDone not find the listener " + id));
    EXPECT_EQ(client->ask("send 1 4096"), "2");
    EXPECT_EQ(client->finish(), 0);
    EXPECT_EQ(rival->finish(), 0);
}

// It neither answers nor dies. Others are served meanwhile, and it is cut off in the end.
TEST_F(ClientDeaths, FrozenInsideOnProcessDone) {
    startSmallHost("600");
    const ProcessState before = host().state();
    const auto frozen = newClient();
    openSession(*frozen);
    ASSERT_EQ(frozen->ask("hold"), "0");
    ASSERT_EQ(frozen->ask("send 1 4096"), "0");
    ASSERT_EQ(frozen->ask("await-held"), "held");
    frozen->process().freeze();
    const auto other = newClient();
    expectServed(*other);
    expectRemoved(idOf(*frozen, 1));
    EXPECT_TRUE(host().log().await("is cut off: it took too long to answer"));
    EXPECT_EQ(other->finish(), 0);
    frozen->process().thaw();
    EXPECT_EQ(frozen->ask("let-go"), "0");
    EXPECT_EQ(frozen->ask("send 1 4096"), "dead");
    EXPECT_EQ(frozen->ask("await-death"), "died");
    EXPECT_EQ(frozen->finish(), 0);
    expectSettled(before);
    expectNoSessions();
}

// More frozen clients than the host has threads, and none of them is given up.
TEST_F(ClientDeaths, ManyFrozenClientsHoldUpNobody) {
    constexpr int kFrozen = 12;
    startHost({"--log-level", "info", "--threads", "4", "--callback-timeout", "600"});
    std::vector<std::unique_ptr<ClientProcess>> frozen;
    for (int i = 0; i < kFrozen; ++i) {
        frozen.push_back(newClient());
        openSession(*frozen.back());
        ASSERT_EQ(frozen.back()->ask("hold"), "0");
        ASSERT_EQ(frozen.back()->ask("send 1 4096"), "0");
        ASSERT_EQ(frozen.back()->ask("await-held"), "held");
        frozen.back()->process().freeze();
    }
    const auto other = newClient();
    expectServed(*other);
    EXPECT_EQ(other->finish(), 0);
    for (const auto& client : frozen) {
        client->kill();
        expectRemoved(idOf(*client, 1));
    }
}

}  // namespace

}  // namespace orva::test
