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
    serve("2");
    PeerProcess client("hold", "default");
    EXPECT_TRUE(notes().empty());
    client.kill();
    EXPECT_TRUE(eventually([&] { return !notes().empty(); }));
    EXPECT_EQ(android::DEAD_OBJECT, int32_t(mProbe->callHeld()));
    expectOk(mProbe->hold(nullptr));
    expectNothingLeft();
    EXPECT_EQ(std::vector<int32_t>{client.pid()}, notes());
}

TEST_F(Deaths, OfAClientInTheMiddleOfItsCallReachTheServer) {
    serve("2");
    // Stopped, it neither answers nor dies, until it does.
    PeerProcess client("hold", "default");
    client.freeze();
    std::thread waiting([&] { EXPECT_EQ(android::DEAD_OBJECT, int32_t(mProbe->callHeld())); });
    EXPECT_TRUE(eventually([&] { return resourcesOf(mProbe).channels > mHeld.channels + 1; }));
    client.kill();
    waiting.join();
    EXPECT_TRUE(eventually([&] { return notes().size() == 1; }));
    expectOk(mProbe->hold(nullptr));
    expectNothingLeft(1);  // Two calls of ours were under way at once.
}

TEST_F(Deaths, OfAServerReachThoseClientsThatListenOnAThreadOfTheirPool) {
    serve("1");
    const sp<IProbe> made = mProbe->make();
    const sp<Recipient> linked = new Recipient;
    const sp<Recipient> other = new Recipient;
    const sp<Recipient> unlinked = new Recipient;
    EXPECT_TRUE(mProbe->linkToDeath(linked, 7));
    EXPECT_TRUE(mProbe->linkToDeath(unlinked, 1));
    EXPECT_TRUE(mProbe->linkToDeath(linked, 8));
    EXPECT_TRUE(made->linkToDeath(other, 9));
    EXPECT_TRUE(mProbe->unlinkToDeath(unlinked));
    EXPECT_FALSE(mProbe->unlinkToDeath(unlinked)) << "once is enough";
    EXPECT_FALSE(mProbe->unlinkToDeath(other)) << "never linked";
    mServer->kill();
    EXPECT_TRUE(eventually([&] { return linked->count() == 2 && other->count() == 1; }));
    EXPECT_EQ((std::vector<uint64_t>{7, 8}), linked->cookies);
    EXPECT_NE(gettid(), linked->thread);
    EXPECT_TRUE(linked->sawItDead);
    EXPECT_EQ(0u, unlinked->count());
    EXPECT_FALSE(mProbe->linkToDeath(linked, 10)) << "too late";
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
