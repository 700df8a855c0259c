/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Clients that end or hang at every step of the protocol, and those that live on.

#include <sys/syscall.h>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

class ClientDeaths : public SystemTest {
protected:
    // By death, once.
    void expectRemoved(const ClientProcess& client) {
        const std::string id = client.idOf(1);
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

// Before a listener is registered nothing tells the host of a session's end: it goes when its time
// has run out and another client needs the room.
TEST_F(ClientDeaths, WithoutAListenerTheSessionIsLeftToTheTimeOut) {
    startHost({"--log-level", "info", "--max-clients", "1", "--idle-timeout", "0.2"});
    auto client = newClient();
    ASSERT_EQ(client->ask("init 1 echo"), "0");
    const std::string id = client->idOf(1);
    client->kill();
    client = newClient();
    EXPECT_TRUE(eventually([&] { return client->ask("init 1 echo") == "0"; }));
    EXPECT_TRUE(host().log().await("RemoveService " + id + " Complete"));
    EXPECT_EQ(client->ask("uninit 1"), "0");
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

}  // namespace

}  // namespace orva::test
