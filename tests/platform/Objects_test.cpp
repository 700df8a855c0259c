/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Objects that one process holds of another: who they are, when they go, and how their death is
// told.
#include <algorithm>
#include <atomic>

#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include "TransportTest.h"

namespace {

using namespace orva_test;
using namespace android::hardware;
using orva_platform::counts;

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
    EXPECT_EQ(local, sp<IProbe>(mProbe->take())) << "this process's own comes back as itself";
    const sp<IProbe> made = mProbe->make();
    for (const sp<IProbe>& remote : {made, mProbe}) {
        expectOk(mProbe->hold(remote));
        EXPECT_TRUE(interfacesEqual(remote, sp<IProbe>(mProbe->take())));
    }
    EXPECT_FALSE(interfacesEqual(made, mProbe));
    EXPECT_TRUE(interfacesEqual(mProbe, IProbe::getService()));
    EXPECT_EQ(2u, counts().proxies);
}

TEST_F(Objects, OfAnotherInterfaceAreNone) {
    using namespace android::hidl::manager::V1_0;
    const sp<IBinder> binder = toBinder(sp<IProbe>(new Probe));
    const auto found = fromBinder<IServiceManager, BpHwServiceManager, BnHwServiceManager>(binder);
    EXPECT_EQ(nullptr, found.get());
}

TEST_F(Objects, WhoseReleaseOvertakesThemStillArrive) {
    constexpr int kRounds = 300;
    const sp<IProbe> again = new Probe;
    for (int i = 0; i < kRounds; ++i) {
        // One that comes once, or is sent again while it is being released.
        const sp<IProbe> local = i % 4 == 0 ? new Probe : again;
        expectOk(mProbe->hold(local));
        ASSERT_EQ(local, sp<IProbe>(mProbe->take())) << "round " << i;
        // The same of a oneway call to an object that is let go of at once.
        expectOk(sp<IProbe>(mProbe->make())->note(i));
    }
    EXPECT_TRUE(eventually([&] { return notes().size() == kRounds + 1; }));
    const std::vector<int32_t> noted = notes();
    EXPECT_EQ(0, noted[0]);
    EXPECT_TRUE(std::is_sorted(noted.begin(), noted.end())) << "oneway calls keep their order";
    EXPECT_TRUE(eventually([] { return counts().exports == 0; }));
    expectNothingLeft();
}

struct Recipient : hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        thread = gettid();
        // A recipient may call out, and finds the object dead.
        const sp<IBase> object = who.promote();
        sawItDead = object != nullptr && object->ping().isDeadObject();
        cookies = cookies * 10 + cookie;
    }

    pid_t thread = 0;
    bool sawItDead = false;
    std::atomic<uint64_t> cookies{0};  // Each a digit, in their order.
};

TEST_F(Objects, TellOfTheirServersDeathOnAThreadOfThePool) {
    const sp<IProbe> made = mProbe->make();
    const sp<Recipient> linked = new Recipient, other = new Recipient, unlinked = new Recipient;
    std::atomic<uint64_t> toldBefore{0};
    orva_platform::onPeerGone([&](pid_t pid) {
        EXPECT_EQ(mServer->pid(), pid);
        toldBefore = linked->cookies * 10 + other->cookies;
    });
    EXPECT_TRUE(mProbe->linkToDeath(linked, 7));
    EXPECT_TRUE(mProbe->linkToDeath(unlinked, 1));
    EXPECT_TRUE(mProbe->linkToDeath(linked, 8));
    EXPECT_TRUE(made->linkToDeath(other, 9));
    EXPECT_TRUE(mProbe->unlinkToDeath(unlinked));
    EXPECT_FALSE(mProbe->unlinkToDeath(unlinked)) << "once is enough";
    EXPECT_FALSE(mProbe->unlinkToDeath(other)) << "never linked";
    mServer->kill();
    EXPECT_TRUE(eventually([&] { return toldBefore == 789; })) << toldBefore;
    orva_platform::onPeerGone(nullptr);
    EXPECT_NE(gettid(), linked->thread);
    EXPECT_TRUE(linked->sawItDead);
    EXPECT_EQ(0u, unlinked->cookies);
    EXPECT_FALSE(mProbe->linkToDeath(linked, 10)) << "too late";
}

TEST_F(Objects, TellOfTheirDeathAlsoWhomIsLinkedAfterIt) {
    std::atomic<bool> gone{false};
    orva_platform::onPeerGone([&](pid_t) { gone = true; });
    mServer->kill();
    EXPECT_TRUE(eventually([&] { return gone.load(); }));
    orva_platform::onPeerGone(nullptr);
    const sp<Recipient> late = new Recipient;
    EXPECT_TRUE(mProbe->linkToDeath(late, 5));
    EXPECT_TRUE(eventually([&] { return late->cookies == 5; }));
    EXPECT_NE(gettid(), late->thread) << "the caller may hold locks that the recipient needs";
    EXPECT_FALSE(mProbe->linkToDeath(late, 6)) << "once is enough";
}

}  // namespace
