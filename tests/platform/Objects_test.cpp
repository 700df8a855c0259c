/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Objects that one process holds of another: who they are, and when they go.
#include <algorithm>
#include <thread>

#include <hidl/HidlTransportSupport.h>

#include "TransportTest.h"

namespace {

using namespace orva_test;
using android::hardware::interfacesEqual;

using Objects = TransportTest;

TEST_F(Objects, AreTheSameHoweverOftenTheyCome) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> remote = service();
    const sp<IProbe> local = new Probe;
    expectOk(remote->hold(local));
    EXPECT_EQ(local, sp<IProbe>(remote->held())) << "this process's own comes back as itself";

    const sp<IProbe> made = remote->make();
    expectOk(remote->hold(made));
    const sp<IProbe> again = remote->held();
    const sp<IProbe> onceMore = remote->held();
    EXPECT_TRUE(interfacesEqual(made, again));
    EXPECT_TRUE(interfacesEqual(again, onceMore));
    EXPECT_FALSE(interfacesEqual(made, remote));
    EXPECT_EQ(2u, resourcesHere().proxies);

    expectOk(remote->hold(remote));
    EXPECT_TRUE(interfacesEqual(remote, sp<IProbe>(remote->held()))) << "so is the service";
    EXPECT_TRUE(interfacesEqual(remote, service()));
    expectOk(remote->letGo());
}

TEST_F(Objects, GoWhenTheOtherSideLetsGo) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> remote = service();
    const Held before = resourcesOf(remote);
    expectOk(remote->hold(new Probe));
    EXPECT_EQ(1u, Probe::alive());
    EXPECT_EQ(1u, resourcesHere().exports);
    EXPECT_EQ(1u, resourcesOf(remote).proxies);
    expectOk(remote->letGo());
    EXPECT_TRUE(eventually([] { return Probe::alive() == 0; }));
    EXPECT_EQ(0u, resourcesHere().exports);

    sp<IProbe> made = remote->make();
    EXPECT_EQ(before.probes + 1, resourcesOf(remote).probes);
    made.clear();
    EXPECT_TRUE(eventuallyHolds(remote, before));
}

TEST_F(Objects, OutliveTheServicesProxy) {
    PeerProcess server("serve", "default", "1");
    sp<IProbe> remote = service();
    const sp<IProbe> made = remote->make();
    expectOk(remote->hold(new Probe));
    remote.clear();
    EXPECT_EQ(0, int32_t(made->callHeld())) << "the server still holds ours";
    expectOk(made->letGo());
}

TEST_F(Objects, WhoseReleaseOvertakesThemStillArrive) {
    constexpr int kRounds = 300;
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> remote = service();
    Held before = resourcesOf(remote);
    for (int i = 0; i < kRounds; ++i) {
        const sp<IProbe> local = new Probe;
        expectOk(remote->hold(local));
        ASSERT_EQ(local, sp<IProbe>(remote->handBack())) << "round " << i;
        // The same of a oneway call to an object that is let go of at once.
        expectOk(sp<IProbe>(remote->make())->note(i));
    }
    std::vector<int32_t> noted;
    EXPECT_TRUE(eventually([&] {
        remote->notes([&](const hidl_vec<int32_t>& values, int32_t) { noted = values; }).isOk();
        return noted.size() == kRounds;
    }));
    EXPECT_TRUE(std::is_sorted(noted.begin(), noted.end())) << "oneway calls keep their order";
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
    before.channels += 1;  // The one for oneway calls stays.
    before.descriptors += 1;
    EXPECT_TRUE(eventuallyHolds(remote, before));
}

TEST_F(Objects, SentAgainWhileTheyAreReleasedStay) {
    PeerProcess server("serve", "default", "4");
    const sp<IProbe> remote = service();
    const sp<IProbe> local = new Probe;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                expectOk(remote->hold(local));
                const sp<IProbe> held = remote->held();
                EXPECT_TRUE(held == nullptr || held == local);
                expectOk(remote->letGo());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
    EXPECT_EQ(0u, resourcesOf(remote).proxies);
}

}  // namespace
