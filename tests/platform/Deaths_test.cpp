/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The death of a process, as the other end learns of it.
#include <mutex>
#include <thread>

#include <unistd.h>

#include "TransportTest.h"

namespace {

using namespace orva_test;
using android::hidl::base::V1_0::IBase;

using Deaths = TransportTest;

struct Recipient : android::hardware::hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        std::lock_guard<std::mutex> guard(lock);
        cookies.push_back(cookie);
        thread = gettid();
        // A recipient may call out, and finds the object dead.
        const sp<IBase> object = who.promote();
        sawItDead = object != nullptr && object->ping().isDeadObject();
    }
    size_t count() {
        std::lock_guard<std::mutex> guard(lock);
        return cookies.size();
    }

    std::mutex lock;
    std::vector<uint64_t> cookies;
    pid_t thread = 0;
    bool sawItDead = false;
};

TEST_F(Deaths, OfAClientReachTheServerOnce) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    PeerProcess client("hold", "default", "watch");
    EXPECT_TRUE(deathsAt(probe).empty());
    client.kill();
    EXPECT_TRUE(eventually([&] { return !deathsAt(probe).empty(); }));
    EXPECT_EQ(android::DEAD_OBJECT, int32_t(probe->callHeld()));
    expectOk(probe->letGo());
    EXPECT_TRUE(eventuallyHolds(probe, before));
    EXPECT_EQ(std::vector<uint64_t>{static_cast<uint64_t>(client.pid())}, deathsAt(probe));
}

TEST_F(Deaths, OfAClientInTheMiddleOfItsCallReachTheServer) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    Held before = resourcesOf(probe);
    // Stopped, it neither answers nor dies, until it does.
    PeerProcess client("hold", "default", "watch");
    client.freeze();
    std::thread waiting([&] { EXPECT_EQ(android::DEAD_OBJECT, int32_t(probe->callHeld())); });
    EXPECT_TRUE(eventually([&] { return resourcesOf(probe).channels > before.channels + 1; }));
    client.kill();
    waiting.join();
    EXPECT_TRUE(eventually([&] { return deathsAt(probe).size() == 1; }));
    expectOk(probe->letGo());
    before.channels += 1;  // Two calls of ours were under way at once.
    before.descriptors += 1;
    EXPECT_TRUE(eventuallyHolds(probe, before));
}

TEST_F(Deaths, OfAServerReachAClientOnAThreadOfItsPool) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> probe = service();
    const sp<IProbe> made = probe->make();
    const sp<Recipient> recipient = new Recipient;
    const sp<Recipient> other = new Recipient;
    EXPECT_TRUE(probe->linkToDeath(recipient, 7));
    EXPECT_TRUE(probe->linkToDeath(recipient, 8));
    EXPECT_TRUE(made->linkToDeath(other, 9));
    server.kill();
    EXPECT_TRUE(eventually([&] { return recipient->count() == 2 && other->count() == 1; }));
    EXPECT_EQ((std::vector<uint64_t>{7, 8}), recipient->cookies);
    EXPECT_NE(gettid(), recipient->thread);
    EXPECT_TRUE(recipient->sawItDead);
    EXPECT_FALSE(probe->linkToDeath(recipient, 10)) << "too late";
    EXPECT_FALSE(probe->unlinkToDeath(other)) << "never linked";
}

TEST_F(Deaths, AreNotToldToWhoNoLongerListens) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> probe = service();
    const sp<Recipient> unlinked = new Recipient;
    const sp<Recipient> linked = new Recipient;
    EXPECT_TRUE(probe->linkToDeath(unlinked, 1));
    EXPECT_TRUE(probe->linkToDeath(linked, 2));
    EXPECT_TRUE(probe->unlinkToDeath(unlinked));
    EXPECT_FALSE(probe->unlinkToDeath(unlinked)) << "once is enough";
    // The server's side of it, of a client's object.
    PeerProcess client("hold", "default", "watch");
    EXPECT_TRUE(probe->unwatch());
    client.kill();
    EXPECT_TRUE(eventually([&] { return probe->callHeld() == android::DEAD_OBJECT; }));
    EXPECT_TRUE(deathsAt(probe).empty());

    server.kill();
    EXPECT_TRUE(eventually([&] { return linked->count() == 1; }));
    EXPECT_EQ(0u, unlinked->count());
}

TEST_F(Deaths, DoNotKeepAClientFromTheNextServer) {
    // Nothing here starts this process's pool, so nobody tells of the death.
    sp<IProbe> old;
    for (int i = 0; i < 3; ++i) {
        PeerProcess server("serve", "default", "1");
        const sp<IProbe> fresh = service();
        ASSERT_NE(nullptr, fresh.get());
        expectOk(fresh->ping());
        EXPECT_TRUE(old == nullptr || old->ping().isDeadObject());
        old = fresh;
        server.kill();
        EXPECT_EQ(nullptr, service().get());
    }
    EXPECT_EQ(0u, resourcesHere().threads);
}

}  // namespace
