/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Calls to another process, and back from it.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>

#include "TransportTest.h"
#include "support/Descriptors.h"

namespace {

using namespace orva_test;
using android::hardware::IPCThreadState;
using android::hidl::base::V1_0::IBase;

constexpr int kThreads = 3;

class Calls : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        serve(std::to_string(kThreads));
    }
};

TEST_F(Calls, CarryEveryKindOfValueThereAndBack) {
    hidl_vec<Part> sent = {partOf(3, 1), Part()};
    sent[0].texts = {"", "a", std::string(5000, 'b')};
    sent[0].triple[2] = -7;
    sent[0].large = UINT64_MAX;
    hidl_vec<Part> back;
    expectOk(mProbe->echo(sent, [&](const hidl_vec<Part>& parts) { back = parts; }));
    ASSERT_EQ(2u, back.size());
    EXPECT_EQ(sent[0].name, back[0].name);
    EXPECT_EQ(sent[0].numbers, back[0].numbers);
    EXPECT_EQ(sent[0].texts, back[0].texts);
    EXPECT_EQ(sent[0].triple, back[0].triple);
    EXPECT_EQ(sent[0].large, back[0].large);
    EXPECT_EQ(3, back[0].descriptors->numFds);
    EXPECT_EQ(1, back[0].region.handle()->numFds);
    EXPECT_EQ(4096u, back[0].region.size());
    EXPECT_EQ("ashmem", back[0].region.name());
    EXPECT_EQ(nullptr, back[1].descriptors.getNativeHandle());
    EXPECT_EQ(nullptr, back[1].region.handle());
    expectNothingLeft();
}

TEST_F(Calls, LendDescriptorsForTheirTime) {
    expectOk(mProbe->receive(partOf(5, 2), [](int32_t count, bool sound) {
        EXPECT_EQ(7, count);
        EXPECT_TRUE(sound);
    }));
    std::vector<int> lent;
    hidl_handle kept;
    expectOk(mProbe->give(3, [&](const hidl_handle& given) {
        lent.assign(given->data, given->data + given->numFds);
        kept = given;
    }));
    ASSERT_EQ(3u, lent.size());
    for (size_t i = 0; i < lent.size(); ++i) {
        EXPECT_FALSE(isOpen(lent[i]));
        EXPECT_TRUE(isCloseOnExec(kept->data[i]));
    }
    expectNothingLeft();
}

TEST_F(Calls, AreLimitedInWhatTheyCarry) {
    const auto text = [&](size_t size) {
        hidl_vec<Part> parts = {Part()};
        parts[0].name = std::string(size, 'x');
        return mProbe->echo(parts, [=](const auto& back) { EXPECT_EQ(size, back[0].name.size()); });
    };
    const auto take = [&](int first, int second) {
        return mProbe->receive(partOf(first, second),
                               [=](int32_t count, bool) { EXPECT_EQ(first + second, count); });
    };
    const auto give = [&](uint32_t count) {
        return mProbe->give(count, [=](const hidl_handle& given) {
            EXPECT_EQ(count, static_cast<uint32_t>(given->numFds));
        });
    };
    const Part closed = partOf(1, 0);
    const int number = closed.descriptors->data[0];
    const int spare = dup(number);
    close(number);
    struct {
        const char* what;
        bool passes;
        Return<void> result;
    } const cases[] = {
            {"900 KiB of arguments and results", true, text(900 << 10)},
            {"2 MiB of arguments", false, text(2 << 20)},
            {"253 descriptors", true, take(252, 1)},
            {"254 descriptors of two handles", false, take(200, 54)},
            {"253 descriptors of a result", true, give(253)},
            {"254 descriptors of a result", false, give(254)},
            {"a closed descriptor", false, mProbe->receive(closed, [](int32_t, bool) {})},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.passes ? "no error" : "transaction failed (FAILED_TRANSACTION)",
                  each.result.description())
                << each.what;
        EXPECT_EQ(each.passes, each.result.isOk()) << each.what;
    }
    EXPECT_EQ(number, dup2(spare, number));
    close(spare);
    EXPECT_TRUE(mProbe->ping().isOk()) << "the connection is as it was";
    expectNothingLeft();
}

struct Caller {
    pid_t before = -1;
    pid_t after = -1;
    uid_t uid = 0;
};

Caller callerOf(const sp<IProbe>& probe, const sp<IProbe>& inner) {
    Caller caller;
    expectOk(probe->caller(inner, [&](int32_t before, int32_t after, uint32_t uid) {
        caller = {before, after, uid};
    }));
    return caller;
}

TEST_F(Calls, KnowTheirCallerAndServeCallsBackOnTheThreadThatWaits) {
    struct Notes : Probe {
        Return<void> caller(const sp<IProbe>& inner, caller_cb answer) override {
            seen = IPCThreadState::self()->getCallingPid();
            servedBy = gettid();
            return Probe::caller(inner, answer);
        }
        pid_t seen = -1;
        pid_t servedBy = -1;
    };
    const sp<Notes> local = new Notes;

    const Caller nesting = callerOf(mProbe, local);
    EXPECT_EQ(getpid(), nesting.before);
    EXPECT_EQ(getpid(), nesting.after) << "as before the call back";
    EXPECT_EQ(getuid(), nesting.uid);
    EXPECT_EQ(mServer->pid(), local->seen);
    EXPECT_EQ(gettid(), local->servedBy);
    EXPECT_EQ(getpid(), callerOf(local, nullptr).before) << "in one process";

    expectOk(mProbe->note(1));
    EXPECT_TRUE(eventually([&] { return notes().size() == 1; }));
    expectOk(mProbe->notes([](const hidl_vec<int32_t>&, int32_t caller) {
        EXPECT_EQ(0, caller) << "nobody waits for a oneway call";
    }));
}

TEST_F(Calls, NestOnlyToALimit) {
    const sp<IProbe> local = new Probe;
    const struct {
        int32_t depth;
        int32_t reached;
        int32_t status;
    } cases[] = {{40, 40, 0}, {1000, 64, android::FAILED_TRANSACTION}, {3, 3, 0}};
    for (const auto& each : cases) {
        expectOk(mProbe->nest(local, each.depth, [&](int32_t reached, int32_t status) {
            EXPECT_EQ(each.reached, reached);
            EXPECT_EQ(each.status, status);
        }));
    }
}

TEST_F(Calls, OfManyThreadsRunAtOnceUpToTheServersBound) {
    std::vector<std::thread> callers;
    callers.reserve(3 * kThreads);
    for (int i = 0; i < 3 * kThreads; ++i) {
        callers.emplace_back([&] { EXPECT_EQ(kThreads, mProbe->stay().withDefault(-1)); });
    }
    for (int i = 0; i < kThreads; ++i) {
        EXPECT_EQ("in", mServer->readLine());
    }
    mServer->signal(SIGUSR1);
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(uint64_t{kThreads}, resourcesOf(mProbe).threads);
}

TEST_F(Calls, ToTheBaseOfAnObjectAnswer) {
    expectOk(mProbe->interfaceChain([&](const hidl_vec<hidl_string>& names) {
        EXPECT_EQ((hidl_vec<hidl_string>{IProbe::descriptor, "android.hidl.base@1.0::IBase"}),
                  names);
    }));
    expectOk(mProbe->interfaceDescriptor(
            [](const hidl_string& name) { EXPECT_EQ(hidl_string(IProbe::descriptor), name); }));
    expectOk(mProbe->getHashChain([](const auto& hashes) { EXPECT_EQ(2u, hashes.size()); }));
    expectOk(mProbe->getDebugInfo([&](const auto& info) { EXPECT_EQ(mServer->pid(), info.pid); }));
    expectOk(mProbe->debug(nullDevices(1), {"--all"}));
    expectOk(mProbe->setHALInstrumentation());
}

TEST_F(Calls, ThatTheServerDoesNotSurviveAreDead) {
    std::thread waiting([&] { EXPECT_TRUE(mProbe->stay().isDeadObject()); });
    EXPECT_EQ("in", mServer->readLine());
    mServer->kill();
    waiting.join();
    const Return<void> late = mProbe->hold(new Probe);
    EXPECT_FALSE(late.isOk());
    EXPECT_TRUE(late.isDeadObject());
    EXPECT_TRUE(mProbe->note(1).isDeadObject());
    EXPECT_TRUE(IProbe::castFrom(sp<IBase>(mProbe), true).isDeadObject());
}

TEST_F(Calls, WithAThirdProcesssObjectFailAlone) {
    PeerProcess third("serve", "third", "1");
    const sp<IProbe> other = service("third");
    const Return<void> result = mProbe->hold(other);
    EXPECT_FALSE(result.isOk());
    EXPECT_FALSE(result.isDeadObject());
    expectOk(other->ping());
    expectNothingLeft();
}

}  // namespace
