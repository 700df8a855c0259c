/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Everything at once, for a few seconds: clients of several threads that call, call back, hold each
// other's objects and are killed at random; in the end the server holds what it held.
#include <signal.h>

#include <random>
#include <thread>

#include "TransportTest.h"

namespace {

using namespace orva_test;

constexpr std::chrono::seconds kDuration{5};

using Stress = TransportTest;

// One thread's calls until the time is over. Every failure must be one that a call may have when
// others hold and let go of the same object, or its process was killed.
void callAtRandom(const sp<IProbe>& probe, unsigned seed, std::chrono::steady_clock::time_point end,
                  std::atomic<size_t>* calls) {
    std::minstd_rand random(seed);
    const sp<IProbe> local = new Probe;
    while (std::chrono::steady_clock::now() < end) {
        ++*calls;
        switch (random() % 9) {
        case 0:
            expectOk(probe->ping());
            break;
        case 1:
            expectOk(probe->hold(local));
            break;
        case 2: {
            const sp<IProbe> held = probe->held().withDefault(nullptr);
            break;
        }
        case 3:
            expectOk(probe->letGo());
            break;
        case 4:
            expectOk(probe->callHeld());
            break;
        case 5:
            expectOk(probe->nest(local, static_cast<int32_t>(random() % 10),
                                 [](int32_t, int32_t) {}));
            break;
        case 6: {
            const sp<IProbe> made = probe->make();
            expectOk(made->ping());
            expectOk(made->note(1));
            break;
        }
        case 7:
            expectOk(probe->receive(nullDevices(3), hidl_memory("", nullDevices(1), 1),
                                    [](int32_t count, bool) { EXPECT_EQ(4, count); }));
            break;
        default: {
            const hidl_string text(std::string(random() % 60'000, 's'));
            expectOk(probe->text(text, [&](const hidl_string& back) { EXPECT_EQ(text, back); }));
        }
        }
    }
}

TEST_F(Stress, LeavesNothingBehind) {
    PeerProcess server({"serve", "default", "4"});
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    const auto end = std::chrono::steady_clock::now() + kDuration;
    std::atomic<size_t> calls{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] { callAtRandom(probe, i + 1, end, &calls); });
    }
    // Meanwhile others come, call at random as well, and are killed.
    size_t killed = 0;
    std::minstd_rand random(99);
    while (std::chrono::steady_clock::now() < end) {
        std::vector<std::unique_ptr<PeerProcess>> clients;
        for (int i = 0; i < 3; ++i) {
            clients.push_back(std::make_unique<PeerProcess>(
                    std::vector<std::string>{"roam", "default", std::to_string(random())}));
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
    RecordProperty("calls", static_cast<int>(calls));
    RecordProperty("killed", static_cast<int>(killed));
    EXPECT_LT(5u, killed);
    EXPECT_LT(100u, calls);
    expectOk(probe->letGo());
    // Of this process's own, its threads' channels and the one for oneway calls stay.
    EXPECT_TRUE(eventually([&] {
        const Held now = resourcesOf(probe);
        const uint64_t channels = now.channels - before.channels;
        return now.links == before.links && channels <= 12 && now.exports == 0 &&
               now.proxies == 0 && now.probes == before.probes && now.mappings == before.mappings &&
               now.descriptors == before.descriptors + channels;
    })) << ::testing::PrintToString(resourcesOf(probe).descriptors);
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
}

}  // namespace
