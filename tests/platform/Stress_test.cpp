/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Everything at once, for a few seconds: clients of several threads that call, call back, hold each
// other's objects and are killed at random; in the end the server holds what it held.
#include <random>
#include <thread>

#include "TransportTest.h"

namespace {

using namespace orva_test;

constexpr std::chrono::seconds kDuration{5};

using Stress = TransportTest;

TEST_F(Stress, LeavesNothingBehind) {
    PeerProcess server("serve", "default", "4");
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    const auto end = std::chrono::steady_clock::now() + kDuration;
    std::atomic<size_t> calls{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            callAtRandom(probe, i + 1, [&] {
                ++calls;
                return std::chrono::steady_clock::now() < end;
            });
        });
    }
    // Meanwhile others come, call at random as well, and are killed.
    size_t killed = 0;
    std::minstd_rand random(99);
    while (std::chrono::steady_clock::now() < end) {
        std::vector<std::unique_ptr<PeerProcess>> clients;
        for (int i = 0; i < 3; ++i) {
            clients.push_back(
                    std::make_unique<PeerProcess>("roam", "default", std::to_string(random())));
        }
        for (const auto& client : clients) {
            // When, is left to chance: after any of its first calls.
            const size_t then = calls + random() % 200;
            eventually([&] { return calls >= then || std::chrono::steady_clock::now() > end; });
            client->kill();
            ++killed;
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LT(5u, killed);
    EXPECT_LT(100u, calls);
    expectOk(probe->letGo());
    // Of this process's own, its threads' channels and the one for oneway calls stay.
    EXPECT_TRUE(eventually([&] {
        Held now = resourcesOf(probe);
        const uint64_t channels = now.channels - before.channels;
        now.channels -= channels;
        now.descriptors -= channels;
        now.threads = before.threads;
        return now == before && channels <= 12;
    })) << testing::PrintToString(resourcesOf(probe));
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
}

}  // namespace
