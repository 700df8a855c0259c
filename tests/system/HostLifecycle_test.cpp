/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// How a host begins and ends, and what its clients see of it.

#include <csignal>
#include <filesystem>

#include <orva_platform/Runtime.h>
#include <sys/syscall.h>

#include "client/lib/Session.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

class HostLifecycle : public SystemTest {};

TEST_F(HostLifecycle, NobodyServesBeforeAndAfter) {
    EXPECT_THROW(client::findService(), client::ServiceError);
    startHost();
    EXPECT_NE(client::findService(), nullptr);
    EXPECT_EQ(host().stop(), 0);
    EXPECT_THROW(client::findService(), client::ServiceError);
    EXPECT_TRUE(host().process().output().await("orva-host: stopped"));
}

TEST_F(HostLifecycle, StopsCleanlyWithRequestsUnderWay) {
    startHost({"--log-level", "info", "--callback-timeout", "2"});
    const auto busy = newClient();
    busy->begin("requests");
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(busy->answer(), "done");
    }
    const auto holding = newClient();
    EXPECT_EQ(holding->ask("init 1 echo"), "0");
    EXPECT_EQ(holding->ask("set-listener 1"), "0");
    EXPECT_EQ(holding->ask("node-listener 1"), "0");
    EXPECT_EQ(holding->ask("hold"), "0");
    EXPECT_EQ(holding->ask("send 1 4096"), "0");
    EXPECT_EQ(holding->ask("await-held"), "held");
    EXPECT_EQ(holding->ask("send 1 4096"), "0");

    EXPECT_EQ(host().stop(), 0);
    EXPECT_EQ(holding->ask("send 1 4096"), "dead");
    // The thread that is to tell it holds the result.
    EXPECT_EQ(holding->ask("let-go"), "0");
    EXPECT_EQ(holding->ask("await-death"), "died");
    EXPECT_EQ(holding->finish(), 0);
    // What its loop ends with is its service's death, not a hang.
    while (busy->answer() == "done") {
    }
    EXPECT_EQ(busy->finish(), 0);
}

TEST_F(HostLifecycle, KilledHostIsDeadToItsClients) {
    startHost();
    const auto client = newClient();
    EXPECT_EQ(client->ask("init 1 echo"), "0");
    EXPECT_EQ(client->ask("set-listener 1"), "0");
    EXPECT_EQ(client->ask("node-listener 1"), "0");
    host().process().signal(SIGKILL);
    EXPECT_EQ(host().process().await(), 128 + SIGKILL);
    EXPECT_EQ(client->ask("await-death"), "died");
    for (const char* step : {"send 1 100", "init 2 echo", "set-listener 2", "uninit 1"}) {
        EXPECT_EQ(client->ask(step), "dead") << step;
    }
    EXPECT_EQ(client->finish(), 0);
    dropHost();
}

TEST_F(HostLifecycle, SecondHostIsRefused) {
    startHost();
    HostProcess second(folder(), {});
    EXPECT_FALSE(second.ready());
    EXPECT_EQ(second.process().await(), 1);
    EXPECT_TRUE(
            second.log().await("process " + std::to_string(host().pid()) + " serves it already"));
    // The first one is none the worse for it.
    const auto client = newClient();
    expectServed(*client);
    EXPECT_EQ(client->finish(), 0);

    HostProcess other(folder(), {"--instance", "other"});
    EXPECT_TRUE(other.ready()) << other.log().text();
    EXPECT_NE(client::findService("other"), nullptr);
    orva_platform::stop();
    EXPECT_EQ(other.stop(), 0);
}

TEST_F(HostLifecycle, SocketsOfAKilledHostAreTakenOver) {
    startHost();
    host().process().signal(SIGKILL);
    EXPECT_EQ(host().process().await(), 128 + SIGKILL);
    EXPECT_THROW(client::findService(), client::ServiceError);
    EXPECT_TRUE(orva_platform::listServices().empty());
    dropHost();
    startHost();
    const auto client = newClient();
    expectServed(*client);
    EXPECT_EQ(client->finish(), 0);
}

TEST_F(HostLifecycle, WrongOptionsAreUsageErrors) {
    const std::vector<std::vector<std::string>> cases = {
            {"--threads", "0"}, {"--log-level", "loud"}, {"--idle-timeout", "-1"}, {"--nonsense"}};
    for (const auto& options : cases) {
        HostProcess wrong(folder(), options);
        EXPECT_FALSE(wrong.ready());
        EXPECT_EQ(wrong.process().await(), 2) << options[0];
    }
    HostProcess without(folder(), {"--library", "/nowhere/lib.so"});
    EXPECT_FALSE(without.ready());
    EXPECT_EQ(without.process().await(), 1);
    EXPECT_TRUE(without.log().await("cannot load the server library: /nowhere/lib.so"));
    // Nothing of theirs is left to be found.
    EXPECT_TRUE(orva_platform::listServices().empty());
}

}  // namespace

}  // namespace orva::test
