/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Calls to another process, and back from it.
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>

#include <orva/test/1.0/BpHwProbe.h>

#include "Stranger.h"
#include "TransportTest.h"
#include "support/Descriptors.h"

namespace {

using namespace orva_test;
using android::hardware::IPCThreadState;
using orva::test::V1_0::BpHwProbe;

constexpr int kThreads = 3;
constexpr auto kRefused = "Status(EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '";

// An object of this process that does what a test says when the server calls it back.
struct Called : Probe {
    explicit Called(std::function<void()> act) : mAct(std::move(act)) {}
    Return<void> caller(const sp<IProbe>& inner, caller_cb answer) override {
        mAct();
        return Probe::caller(inner, answer);
    }
    const std::function<void()> mAct;
};

Return<void> call(const sp<IProbe>& probe, const sp<IProbe>& back) {
    return probe->caller(back, [](int32_t, int32_t, uint32_t) {});
}

class Calls : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        serve(std::to_string(kThreads));
    }
};

TEST_F(Calls, CarryEveryKindOfValueThereAndBack) {
    hidl_vec<Part> sent = {partOf(3, 1), Part()};
    sent[1].name = "text";
    sent[1].numbers = {1, UINT32_MAX};
    sent[1].texts = {"", "a", std::string(5000, 'b')};
    hidl_vec<Part> back;
    std::vector<int> lent;
    expectOk(mProbe->echo(sent, [&](const hidl_vec<Part>& parts) {
        lent.assign(parts[0].descriptors->data, parts[0].descriptors->data + 3);
        back = parts;
    }));
    ASSERT_EQ(2u, back.size());
    EXPECT_EQ(toString(sent[1]), toString(back[1])) << "handles that are null, too";
    EXPECT_EQ(4096u, back[0].region.size());
    EXPECT_EQ("ashmem", back[0].region.name());
    // Descriptors are lent for the call's time; a copy has its own.
    for (size_t i = 0; i < lent.size(); ++i) {
        EXPECT_FALSE(isOpen(lent[i]));
        EXPECT_TRUE(isCloseOnExec(back[0].descriptors->data[i]));
    }
    expectNothingLeft();
}

TEST_F(Calls, AreLimitedInWhatTheyCarry) {
    using Case = std::tuple<size_t, int, int, const char*>;
    for (const auto& [bytes, inHandle, inRegion, told] :
         {Case{900 << 10, 252, 1, "No error"}, Case{2 << 20, 0, 0, kRefused},
          Case{100 << 10, 1000, 24, "No error"}}) {
        Part part = partOf(inHandle, inRegion);
        part.name = std::string(bytes, 'x');
        const Return<void> result = mProbe->receive(part, [](int32_t, int32_t, bool) {});
        EXPECT_FALSE(result.isDeadObject());
        EXPECT_EQ(told, result.description());
    }
    expectNothingLeft();
}

TEST_F(Calls, KnowTheirCallerAndServeCallsBackOnTheThreadThatWaits) {
    pid_t calledBy = -1;
    pid_t servedBy = -1;
    const sp<IProbe> local = new Called([&] {
        calledBy = IPCThreadState::self()->getCallingPid();
        servedBy = gettid();
    });
    expectOk(mProbe->caller(local, [](int32_t before, int32_t after, uint32_t uid) {
        EXPECT_EQ(getpid(), before);
        EXPECT_EQ(getpid(), after) << "as before the call back";
        EXPECT_EQ(getuid(), uid);
    }));
    EXPECT_EQ(mServer->pid(), calledBy);
    EXPECT_EQ(gettid(), servedBy);
    // Within one process it is the process itself.
    expectOk(local->caller(nullptr, [](int32_t before, int32_t, uint32_t uid) {
        EXPECT_EQ(getpid(), before);
        EXPECT_EQ(getuid(), uid);
    }));
    EXPECT_EQ(getpid(), calledBy);
    expectOk(mProbe->getDebugInfo([&](const auto& info) { EXPECT_EQ(mServer->pid(), info.pid); }));
    expectOk(mProbe->getHashChain([](const auto& chain) {
        ASSERT_EQ(2U, chain.size());
        const uint8_t base[] = {0xec, 0x7f, 0xd7, 0x9e};  // As devices have frozen IBase.
        EXPECT_EQ(0, memcmp(base, &chain[1][0], sizeof(base)));
    }));
}

TEST_F(Calls, BackAfterTheAnswerGoAWayOfTheirOwn) {
    // Nobody waits for this thread any more when it has answered.
    struct Late : Probe {
        explicit Late(IProbe& probe) : peer(probe) {}
        Return<void> caller(const sp<IProbe>&, caller_cb answer) override {
            answer(1, 2, 3);
            expectOk(peer.ping());
            return android::hardware::Void();
        }
        IProbe& peer;
    };
    int32_t before = 0;
    expectOk(mProbe->caller(new Late(*mProbe), [&](int32_t pid, auto...) { before = pid; }));
    EXPECT_EQ(getpid(), before);
}

TEST_F(Calls, CarryDescriptorsInTheirOrderHoweverManyPacketsThatTakes) {
    constexpr int kCount = 600;
    hidl_vec<Part> sent = {Part()};
    native_handle_t* native = native_handle_create(kCount, 0);
    for (int i = 0; i < kCount; ++i) {
        native->data[i] = memfd_create("numbered", MFD_CLOEXEC);
        ASSERT_EQ(0, ftruncate(native->data[i], i));
    }
    sent[0].descriptors.setTo(native, true);
    sent[0].name = std::string(40000, 'x');
    expectOk(mProbe->echo(sent, [&](const hidl_vec<Part>& parts) {
        ASSERT_EQ(kCount, parts[0].descriptors->numFds);
        for (int i = 0; i < kCount; ++i) {
            EXPECT_EQ(i, lseek(parts[0].descriptors->data[i], 0, SEEK_END));
        }
    }));
    expectNothingLeft();
}

TEST_F(Calls, InsideACallBackAreServedByTheThreadThatWaitsWhateverTheyAsk) {
    // The server has no other thread.
    const PeerProcess server("single", "1", "20000");
    const sp<IProbe> one = IProbe::getService("single");
    const sp<IProbe> other = IProbe::getService("single-too");
    EXPECT_FALSE(android::hardware::interfacesEqual(one, other));
    expectOk(call(one, new Called([&] {
                      expectOk(other->ping());
                      expectOk(call(other, new Called([&] { expectOk(one->ping()); })));
                      expectOk(other->hold(one));
                  })));
    EXPECT_TRUE(android::hardware::interfacesEqual(one, sp<IProbe>(one->take())));
}

// The limit of a call back bounds what is called from inside it, too, though not what the server
// itself is at.
TEST_F(Calls, InsideACallBackEndWithItsLimit) {
    const PeerProcess server("strict", "2", "300");
    const sp<IProbe> probe = IProbe::getService("strict");
    const sp<IProbe> late = new Called([&] {
        expectOk(probe->work(500));
        const Return<void> refused = probe->ping();
        EXPECT_FALSE(refused.isOk());
        EXPECT_EQ(kRefused, refused.description()) << "but there is time to answer";
    });
    expectOk(call(probe, late));
    const sp<IProbe> nested = new Called([&] { expectOk(call(probe, new Probe)); });
    expectOk(call(probe, nested));
    const auto start = std::chrono::steady_clock::now();
    const sp<IProbe> endless = new Called([&] {
        while (probe->work(100).isOk()) {
        }
        EXPECT_TRUE(eventually([&] {
            const Return<void> refused = probe->ping();
            return !refused.isOk() && refused.isDeadObject();
        })) << "is cut off";
    });
    EXPECT_TRUE(call(probe, endless).isDeadObject());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(Calls, ReachAClientThatHasClosedItsChannel) {
    Stranger stranger([&] {
        RawClient client(socketOf());
        client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.hold(new Probe); }));
        EXPECT_EQ("reply 0", client.next());
        client.adoptChannel().reset();
        client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.callHeld(); }));
        const auto another = client.adoptChannel();
        EXPECT_EQ("call", RawClient::nextOn(another));
    });
    EXPECT_TRUE(stranger.succeeded());
    expectOk(mProbe->hold(nullptr));
    expectNothingLeft();
}

// A server that holds a lock meanwhile holds up nobody with it, and loses nothing.
TEST_F(Calls, MayReturnBeforeTheirAnswerAndWaitForItLater) {
    struct Worker : Called {
        using Called::Called;
        Return<void> work(uint32_t) override {
            mAct();
            return android::hardware::Void();
        }
    };
    const auto noted = [&](std::vector<int32_t> expected) {
        expected.insert(expected.begin(), 0);  // From the start.
        return eventually([&] { return notes() == expected; });
    };
    expectOk(mProbe->hold(new Worker([] {})));
    expectOk(mProbe->haveHeldWork());
    EXPECT_TRUE(noted({1, 2})) << "answered at once";
    // What is called from inside it is served after the call's return, too.
    expectOk(mProbe->hold(new Worker([&] {
        expectOk(mProbe->ping());
        expectOk(mProbe->ping());
        EXPECT_TRUE(noted({1, 2, 1})) << "has returned, and the answer is waited for";
    })));
    expectOk(mProbe->haveHeldWork());
    EXPECT_TRUE(noted({1, 2, 1, 2}));
    expectOk(mProbe->hold(nullptr));
    expectNothingLeft();
}

TEST_F(Calls, WaitForALateAnswerNoLongerThanForAny) {
    const PeerProcess server("strict", "2", "300");
    Stranger silent([&] {
        RawClient client(socketOf("strict"));
        client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.hold(new Probe); }));
        EXPECT_EQ("reply 0", client.next());
        const auto back = client.adoptChannel();
        client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.haveHeldWork(); }));
        EXPECT_EQ("call", RawClient::nextOn(back)) << "which is never answered";
        EXPECT_TRUE(client.isEnded());
    });
    EXPECT_TRUE(silent.succeeded());
    const sp<IProbe> probe = IProbe::getService("strict");
    std::vector<int32_t> noted;
    EXPECT_TRUE(eventually([&] {
        expectOk(probe->notes([&](const hidl_vec<int32_t>& values) { noted = values; }));
        return noted == std::vector<int32_t>{1, 2};
    }));
}

TEST_F(Calls, NestOnlyToALimit) {
    for (const auto& [depth, limit] : {std::pair(20, 20), {1000, 32}, {3, 3}}) {
        int reached = 0;
        std::string refusal = "No error";
        sp<IProbe> local;
        local = new Called([&, depth = depth] {
            const Return<void> result = ++reached < depth ? call(mProbe, local) : Return<void>();
            refusal = result.isOk() ? refusal : result.description();
        });
        expectOk(call(mProbe, local));
        EXPECT_EQ(limit, reached);
        EXPECT_EQ(depth == limit ? "No error" : kRefused, refusal);
    }
}

// Counts who is inside, and keeps them there until it is opened.
struct Gate {
    explicit Gate(int most) : mMost(most) {}
    void pass() {
        EXPECT_LE(++mInside, mMost);
        EXPECT_TRUE(eventually([&] { return mOpen.load(); }));
        --mInside;
    }
    void openWhenFull() {
        EXPECT_TRUE(eventually([&] { return mInside == mMost; }));
        mOpen = true;
    }

private:
    const int mMost;
    std::atomic<int> mInside{0};
    std::atomic<bool> mOpen{false};
};

// By default most of the pool's threads are one peer's, and else as many as the program says.
TEST_F(Calls, OfManyThreadsRunAtOnceUpToTheirPeersBound) {
    const PeerProcess server("frugal", "8", "20000", "0", "10");
    for (const auto& [instance, most] : {std::pair("default", 2), {"frugal", 5}}) {
        const sp<IProbe> probe = IProbe::getService(instance);
        // A thread of the server waits for each that is called back.
        Gate gate(most);
        const sp<IProbe> local = new Called([&] { gate.pass(); });
        std::vector<std::thread> callers(9);
        for (std::thread& caller : callers) {
            caller = std::thread([&] { expectOk(call(probe, local)); });
        }
        // Several on one channel, before a thread can look at the first.
        for (const int32_t value : {1, 2, 3, 4, 5}) {
            expectOk(mProbe->note(value));
        }
        gate.openWhenFull();
        for (std::thread& caller : callers) {
            caller.join();
        }
    }
    EXPECT_TRUE(eventually([&] { return notes().size() == 11; }));
    EXPECT_EQ((std::vector<int32_t>{0, 1, 2, 3, 4, 5, 1, 2, 3, 4, 5}), notes());
}

TEST_F(Calls, BackToOnePeerRunAtOnceUpToItsBound) {
    android::hardware::configureRpcThreadpool(6, false);
    const PeerProcess server("frugal", "8", "20000", "0", "4");
    const sp<IProbe> probe = IProbe::getService("frugal");
    Gate gate(2);
    expectOk(probe->hold(new Called([&] { gate.pass(); })));
    std::vector<std::unique_ptr<Stranger>> others(6);
    for (auto& other : others) {
        other = std::make_unique<Stranger>([&] {
            RawClient client(socketOf("frugal"));
            const auto callHeld = [](BpHwProbe& proxy) { return proxy.callHeld(); };
            client.call(recordOf<BpHwProbe>(callHeld));
            client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.ping(); }));
            EXPECT_EQ("reply 0", client.next()) << "once that is done";
        });
    }
    gate.openWhenFull();
    for (const auto& other : others) {
        EXPECT_TRUE(other->succeeded());
    }
    android::hardware::configureRpcThreadpool(1, false);
}

TEST_F(Calls, ThatTheServerDoesNotSurviveAreDead) {
    EXPECT_TRUE(call(mProbe, new Called([&] { mServer->kill(); })).isDeadObject());
    const Return<void> late = mProbe->hold(new Probe);
    EXPECT_FALSE(late.isOk());
    EXPECT_TRUE(late.isDeadObject());
    EXPECT_TRUE(mProbe->note(1).isDeadObject());
    EXPECT_TRUE(IProbe::castFrom(sp<IBase>(mProbe), true).isDeadObject());
}

TEST_F(Calls, WithAThirdProcesssObjectFailAlone) {
    PeerProcess third("third", "1");
    const sp<IProbe> other = IProbe::getService("third");
    const Return<void> result = mProbe->hold(other);
    EXPECT_FALSE(result.isOk());
    EXPECT_FALSE(result.isDeadObject());
    expectOk(other->ping());
    expectNothingLeft();
}

}  // namespace
