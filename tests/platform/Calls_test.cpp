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
using orva::test::V1_0::Level;

using Calls = TransportTest;

TEST_F(Calls, CarryEveryKindOfValueThereAndBack) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    Everything sent = {};
    sent.values = {true,
                   -1,
                   65535,
                   INT32_MIN,
                   UINT64_MAX,
                   0.5f,
                   -1e300,
                   Level::HIGH,
                   {},
                   "text",
                   {"", "a", std::string(5000, 'b')},
                   {{1, 2, 3}, {}, {4}}};
    sent.values.triple[2] = 7;
    sent.parts.resize(2);
    sent.parts[0] = partOf(3, 1);
    const Held before = resourcesOf(probe);
    bool answered = false;
    expectOk(probe->echo(sent, [&](const Everything& back) {
        answered = true;
        EXPECT_EQ(sent.values, back.values);
        ASSERT_EQ(2u, back.parts.size());
        const Part& part = back.parts[0];
        EXPECT_EQ(sent.parts[0].name, part.name);
        EXPECT_EQ(sent.parts[0].numbers, part.numbers);
        EXPECT_EQ(3, part.descriptors->numFds);
        EXPECT_EQ(1, part.region.handle()->numFds);
        EXPECT_EQ(4096u, part.region.size());
        EXPECT_EQ("ashmem", part.region.name());
        EXPECT_EQ(nullptr, back.parts[1].descriptors.getNativeHandle());
        EXPECT_EQ(nullptr, back.parts[1].region.handle());
    }));
    EXPECT_TRUE(answered);
    EXPECT_TRUE(eventuallyHolds(probe, before));
}

TEST_F(Calls, LendDescriptorsForTheirTime) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    expectOk(probe->receive(partOf(5, 2), [](int32_t count, bool sound) {
        EXPECT_EQ(7, count);
        EXPECT_TRUE(sound);
    }));
    std::vector<int> lent;
    hidl_handle kept;
    expectOk(probe->give(3, [&](const hidl_handle& given) {
        for (int i = 0; i < given->numFds; ++i) {
            lent.push_back(given->data[i]);
            EXPECT_TRUE(isCloseOnExec(given->data[i]));
        }
        kept = given;
    }));
    ASSERT_EQ(3u, lent.size());
    for (size_t i = 0; i < lent.size(); ++i) {
        EXPECT_FALSE(isOpen(lent[i]));
        EXPECT_TRUE(isOpen(kept->data[i]));
    }
    EXPECT_TRUE(eventuallyHolds(probe, before));
}

TEST_F(Calls, AreLimitedInWhatTheyCarry) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    const auto text = [&](uint32_t size) {
        const hidl_string sent(std::string(size, 'x'));
        return probe->text(sent, [&](const hidl_string& back) { EXPECT_EQ(sent, back); });
    };
    const auto giveText = [&](uint32_t size) {
        return probe->giveText(size,
                               [&](const hidl_string& given) { EXPECT_EQ(size, given.size()); });
    };
    const auto take = [&](int first, int second) {
        return probe->receive(partOf(first, second),
                              [&](int32_t count, bool) { EXPECT_EQ(first + second, count); });
    };
    const auto give = [&](uint32_t count) {
        return probe->give(count, [&](const hidl_handle& given) {
            EXPECT_EQ(static_cast<int>(count), given->numFds);
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
            {"900 KiB of arguments", true, text(900 << 10)},
            {"2 MiB of arguments", false, text(2 << 20)},
            {"900 KiB of results", true, giveText(900 << 10)},
            {"2 MiB of results", false, giveText(2 << 20)},
            {"253 descriptors", true, take(252, 1)},
            {"254 descriptors", false, take(254, 0)},
            {"254 descriptors of two handles", false, take(200, 54)},
            {"253 descriptors of a result", true, give(253)},
            {"254 descriptors of a result", false, give(254)},
            {"a closed descriptor", false, probe->receive(closed, [](int32_t, bool) {})},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.passes, each.result.isOk()) << each.what;
        EXPECT_FALSE(each.result.isDeadObject()) << each.what;
        if (!each.passes) {
            EXPECT_EQ("transaction failed (FAILED_TRANSACTION)", each.result.description());
        }
    }
    EXPECT_EQ(number, dup2(spare, number));
    close(spare);
    EXPECT_TRUE(probe->ping().isOk()) << "the connection is as it was";
    EXPECT_TRUE(eventuallyHolds(probe, before));
}

struct Caller {
    int32_t before = -1;
    int32_t after = -1;
    uint32_t uid = 0;
};

Caller callerOf(const sp<IProbe>& probe, const sp<IProbe>& inner) {
    Caller caller;
    expectOk(probe->caller(inner, [&](int32_t before, int32_t after, uint32_t uid) {
        caller = {before, after, uid};
    }));
    return caller;
}

TEST_F(Calls, KnowTheirCaller) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> remote = service();

    struct Notes : Probe {
        Return<void> caller(const sp<IProbe>& inner, caller_cb answer) override {
            seen = IPCThreadState::self()->getCallingPid();
            return Probe::caller(inner, answer);
        }
        pid_t seen = -1;
    };
    const sp<Notes> local = new Notes;

    const Caller plain = callerOf(remote, nullptr);
    EXPECT_EQ(getpid(), plain.before);
    EXPECT_EQ(getuid(), plain.uid);
    const Caller nesting = callerOf(remote, local);
    EXPECT_EQ(getpid(), nesting.before);
    EXPECT_EQ(getpid(), nesting.after) << "as before the call back";
    EXPECT_EQ(server.pid(), local->seen);
    const Caller inProcess = callerOf(local, nullptr);
    EXPECT_EQ(getpid(), inProcess.before);
    EXPECT_EQ(getpid(), IPCThreadState::self()->getCallingPid());

    expectOk(remote->note(1));
    int32_t noted = -1;
    EXPECT_TRUE(eventually([&] {
        size_t count = 0;
        remote->notes([&](const hidl_vec<int32_t>& values, int32_t caller) {
                  count = values.size();
                  noted = caller;
              }).isOk();
        return count == 1;
    }));
    EXPECT_EQ(0, noted) << "nobody waits for a oneway call";
}

TEST_F(Calls, BackAreServedByTheThreadThatWaits) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> remote = service();
    uint64_t servedBy = 0;
    expectOk(remote->thread(new Probe, [&](uint64_t, uint64_t others) { servedBy = others; }));
    EXPECT_EQ(static_cast<uint64_t>(gettid()), servedBy);
}

TEST_F(Calls, NestOnlyToALimit) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> remote = service();
    const sp<IProbe> local = new Probe;
    const auto nest = [&](int32_t depth) {
        std::pair<int32_t, int32_t> result;
        expectOk(remote->nest(local, depth, [&](int32_t reached, int32_t status) {
            result = {reached, status};
        }));
        return result;
    };
    EXPECT_EQ(std::make_pair(40, 0), nest(40));
    EXPECT_EQ(std::make_pair(64, int32_t{android::FAILED_TRANSACTION}), nest(1000));
    EXPECT_EQ(std::make_pair(3, 0), nest(3)) << "the connection is as it was";
}

TEST_F(Calls, OfManyThreadsRunAtOnceUpToTheServersBound) {
    static constexpr int kThreads = 3;
    PeerProcess server("serve", "default", std::to_string(kThreads));
    const sp<IProbe> probe = service();
    std::vector<std::thread> callers;
    for (int i = 0; i < 3 * kThreads; ++i) {
        callers.emplace_back([&] { expectOk(probe->stay()); });
    }
    for (int i = 0; i < kThreads; ++i) {
        EXPECT_EQ("in", server.readLine());
    }
    server.signal(SIGUSR1);
    for (std::thread& caller : callers) {
        caller.join();
    }
    expectOk(probe->staying([](int32_t now, int32_t most) {
        EXPECT_EQ(0, now);
        EXPECT_EQ(kThreads, most);
    }));
    EXPECT_EQ(uint64_t{kThreads}, resourcesOf(probe).threads);
}

TEST_F(Calls, FromAThreadOfItsOwnReachAClientThatIsInACall) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    expectOk(probe->hold(new Probe));
    std::thread waiting([&] { expectOk(probe->stay()); });
    EXPECT_EQ("in", server.readLine());
    EXPECT_EQ(0, int32_t(probe->callHeld()));
    server.signal(SIGUSR1);
    waiting.join();
    expectOk(probe->letGo());
}

TEST_F(Calls, ToTheBaseOfAnObjectAnswer) {
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> probe = service();
    expectOk(probe->ping());
    std::vector<std::string> chain;
    expectOk(probe->interfaceChain(
            [&](const hidl_vec<hidl_string>& names) { chain.assign(names.begin(), names.end()); }));
    EXPECT_EQ((std::vector<std::string>{IProbe::descriptor, "android.hidl.base@1.0::IBase"}),
              chain);
    expectOk(probe->interfaceDescriptor([](const hidl_string& name) {
        EXPECT_EQ(std::string(IProbe::descriptor), name.c_str());
    }));
    expectOk(probe->getHashChain([](const auto& hashes) { EXPECT_EQ(2u, hashes.size()); }));
    expectOk(probe->getDebugInfo([&](const auto& info) { EXPECT_EQ(server.pid(), info.pid); }));
    expectOk(probe->debug(nullDevices(1), {"--all"}));
    expectOk(probe->setHALInstrumentation());
    expectOk(probe->notifySyspropsChanged());
    EXPECT_TRUE(probe->isRemote());
}

TEST_F(Calls, ThatTheServerDoesNotSurviveAreDead) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    std::thread waiting([&] {
        const Return<void> result = probe->stay();
        EXPECT_FALSE(result.isOk());
        EXPECT_TRUE(result.isDeadObject());
    });
    EXPECT_EQ("in", server.readLine());
    server.kill();
    waiting.join();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(probe->ping().isDeadObject());
        EXPECT_TRUE(probe->note(1).isDeadObject());
    }
    EXPECT_TRUE(probe->hold(new Probe).isDeadObject());
}

TEST_F(Calls, WithAThirdProcesssObjectFailAlone) {
    PeerProcess first("serve", "first", "1");
    PeerProcess second("serve", "second", "1");
    const sp<IProbe> one = service("first");
    const sp<IProbe> two = service("second");
    const Return<void> result = two->hold(one);
    EXPECT_FALSE(result.isOk());
    EXPECT_EQ("transaction failed (FAILED_TRANSACTION)", result.description());
    expectOk(one->ping());
    expectOk(two->ping());
    EXPECT_EQ(0u, resourcesOf(two).proxies);
}

}  // namespace
