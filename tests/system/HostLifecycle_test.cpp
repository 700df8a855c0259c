/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// How a host begins and ends, and what its clients see of it.

#include <orva_platform/Runtime.h>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

using HostLifecycle = SystemTest;

TEST_F(HostLifecycle, StopsCleanlyWithRequestsUnderWay) {
    startHost({"--log-level", "info", "--callback-timeout", "2"});
    const auto busy = newClient();
    busy->write("requests");
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(busy->answer(), "done");
    }
    const auto holding = newClient();
    EXPECT_EQ(holding->ask("session 1"), "000");
    EXPECT_EQ(holding->ask("hold 1 4096"), "0");
    EXPECT_EQ(holding->ask("send 1 4096"), "0");

    EXPECT_EQ(host().stop(), 0);
    EXPECT_TRUE(host().output().await("orva-host: stopped"));
    stopHost();
    EXPECT_THROW(client::findService(), client::ServiceError);
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

// Whatever is under way, and however long its clients would have it wait.
TEST_F(HostLifecycle, StopsInTime) {
    startHost({"--callback-timeout", "0", "--load-timeout", "0"});
    const size_t threads = atStart().threads;
    ChildProcess checking(
            {ORVA_ATTACK, "--socket-dir", folder(), "--seconds", "60", "slow-checks"});
    EXPECT_TRUE(eventually([&] { return ProcessState::of(host().pid()).threads >= threads + 3; }));
    const auto holding = newClient();
    EXPECT_EQ(holding->ask("session 1"), "000");
    EXPECT_EQ(holding->ask("hold 1 4096"), "0");
    const auto start = std::chrono::steady_clock::now();
    stopHost();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    holding->kill();
}

TEST_F(HostLifecycle, KilledHostIsDeadToItsClientsAndItsSocketsAreTakenOver) {
    startHost();
    const auto client = newClient();
    EXPECT_EQ(client->ask("session 1"), "000");
    killHost();
    EXPECT_EQ(client->ask("await-death"), "died");
    for (const char* step : {"send 1 100", "init 2 echo", "set-listener 2", "uninit 1"}) {
        EXPECT_EQ(client->ask(step), "dead") << step;
    }
    EXPECT_EQ(client->finish(), 0);
    EXPECT_TRUE(orva_platform::listServices().empty());
    startHost();
    expectServed(*newClient());
}

TEST_F(HostLifecycle, WhatCannotServeSaysWhy) {
    startHost();
    const struct {
        std::vector<std::string> options;
        int code;
        std::string message;
    } cases[] = {
            {{"--threads", "0"}, 2, "--threads"},
            {{"--nonsense"}, 2, "--nonsense"},
            {{"--library", "/nowhere/lib.so"}, 1, "cannot load the server library: /nowhere"},
            {{}, 1, "process " + std::to_string(host().pid()) + " serves it already"},
    };
    for (const auto& each : cases) {
        HostProcess wrong(folder(), each.options);
        EXPECT_EQ(wrong.await(), each.code) << each.message;
        EXPECT_TRUE(wrong.log().await(each.message));
    }
    HostProcess other(folder(), {"--instance", "other"});
    EXPECT_TRUE(other.ready()) << other.log().text();
    EXPECT_EQ(other.stop(), 0);
    // The first one is none the worse for it.
    expectServed(*newClient());
}

}  // namespace

}  // namespace orva::test
