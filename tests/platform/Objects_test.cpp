/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Objects that one process holds of another: who they are, and when they go.
#include <algorithm>
#include <thread>

#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <hidl/HidlTransportSupport.h>

#include "TransportTest.h"

namespace {

using namespace orva_test;
using namespace android::hardware;

class Objects : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        serve("2");
    }
};

TEST_F(Objects, AreTheSameHoweverOftenTheyCome) {
    const sp<IProbe> local = new Probe;
    expectOk(mProbe->hold(local));
    EXPECT_EQ(local, sp<IProbe>(mProbe->held())) << "this process's own comes back as itself";

    const sp<IProbe> made = mProbe->make();
    expectOk(mProbe->hold(made));
    const sp<IProbe> again = mProbe->held();
    EXPECT_TRUE(interfacesEqual(made, again));
    EXPECT_FALSE(interfacesEqual(made, mProbe));
    EXPECT_EQ(2u, resourcesHere().proxies);

    expectOk(mProbe->hold(mProbe));
    EXPECT_TRUE(interfacesEqual(mProbe, sp<IProbe>(mProbe->held()))) << "so is the service";
    EXPECT_TRUE(interfacesEqual(mProbe, service()));
    expectOk(mProbe->hold(nullptr));
}

TEST_F(Objects, OfAnotherInterfaceAreNone) {
    using namespace android::hidl::manager::V1_0;
    const sp<IBinder> binder = toBinder(sp<IProbe>(new Probe));
    const auto found = fromBinder<IServiceManager, BpHwServiceManager, BnHwServiceManager>(binder);
    EXPECT_EQ(nullptr, found.get());
}

TEST_F(Objects, GoWhenTheOtherSideLetsGo) {
    expectOk(mProbe->hold(new Probe));
    EXPECT_EQ(1u, resourcesHere().exports);
    EXPECT_EQ(1u, resourcesOf(mProbe).proxies);
    expectOk(mProbe->hold(nullptr));
    EXPECT_TRUE(eventually([] { return Probe::alive() == 0; }));
    EXPECT_EQ(0u, resourcesHere().exports);

    sp<IProbe> made = mProbe->make();
    EXPECT_EQ(mHeld.probes + 1, resourcesOf(mProbe).probes);
    made.clear();
    expectNothingLeft();
}

TEST_F(Objects, WhoseReleaseOvertakesThemStillArrive) {
    constexpr int kRounds = 300;
    for (int i = 0; i < kRounds; ++i) {
        const sp<IProbe> local = new Probe;
        expectOk(mProbe->hold(local));
        ASSERT_EQ(local, sp<IProbe>(mProbe->handBack())) << "round " << i;
        // The same of a oneway call to an object that is let go of at once.
        expectOk(sp<IProbe>(mProbe->make())->note(i));
    }
    EXPECT_TRUE(eventually([&] { return notes().size() == kRounds; }));
    const std::vector<int32_t> noted = notes();
    EXPECT_TRUE(std::is_sorted(noted.begin(), noted.end())) << "oneway calls keep their order";
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
    expectNothingLeft(1);  // The channel for oneway calls stays.
}

TEST_F(Objects, SentAgainWhileTheyAreReleasedStay) {
    const sp<IProbe> local = new Probe;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                expectOk(mProbe->hold(local));
                const sp<IProbe> held = mProbe->held();
                EXPECT_TRUE(held == nullptr || held == local);
                expectOk(mProbe->hold(nullptr));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(eventually([] { return resourcesHere().exports == 0; }));
}

}  // namespace
