/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <fcntl.h>

#include <climits>

#include "common/ServiceId.h"
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {

const char kTag[] = "AIServiceHIDL";

namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using AIServiceSessions = ServiceTest;

TEST_F(AIServiceSessions, ConfigEndsAtItsFirstNul) {
    constexpr char text[] = "{\"a\":\"b\"}\0never read";
    EXPECT_EQ(0, service_->Init(5, kType, hidl_string(text, sizeof(text) - 1), {}));
    EXPECT_EQ("b", script_.config.GetPara("a"));
    EXPECT_TRUE(script_.models.empty());
}

TEST_F(AIServiceSessions, TypeIsLookedUp) {
    EXPECT_EQ(1, service_->Init(5, "no such type", "", {}));
    EXPECT_EQ((Lines{Error("Init", "create AIService type no such type error")}), Errors());
}

TEST_F(AIServiceSessions, SlowInitHoldsUpNobody) {
    script_.duringInit = [&] {
        script_.duringInit = nullptr;
        EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(0, Init(6)); }));
        // The session itself is there already.
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(0, service_->SetListener(5, nullptr));
            EXPECT_EQ(0, Ask(5));
            EXPECT_EQ(0, Init(5));
            service_->UnInit(6);
        }));
    };
    EXPECT_EQ(0, Init(5));
}

TEST_F(AIServiceSessions, SlowListenerHoldsUpNobody) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->during = [&](const auto&) {
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(0, Init(6));
            EXPECT_EQ(0, service_->SetListener(-6, nullptr));
            service_->UnInit(6);
            service_->UnInit(5);
        }));
    };
    service_->OnProcessDone(IdOf(5), Context("v"), 0, {});
    EXPECT_EQ(1, listener->getStrongCount());
}

TEST(ServiceId, NegatedNumbersAlwaysHaveAMeaning) {
    EXPECT_EQ(5, ListenerClientId(-5));
    EXPECT_EQ(INT32_MAX, ListenerClientId(-INT32_MAX));
    EXPECT_EQ(INT32_MIN, ListenerClientId(INT32_MIN));
    EXPECT_EQ(std::to_string(getpid()) + ":-2147483648", MakeServiceId(INT32_MIN));
}

using ModelBuffers = ServiceTest;

TEST_F(ModelBuffers, AreReadInOrder) {
    Region first(4096), third(4096);
    first.Write<uint8_t>({1, 2, 3});
    third.Write<uint8_t>({4, 5});
    hidl_vec<ModelBuffer> models;
    models.resize(5);
    // The first has neither text nor region.
    models[1] = Model("a", &first, 3);
    models[2] = Model("b", nullptr, 100);
    models[3] = Model("c", &third, 2);
    models[4] = Model("d", nullptr, 0);
    models[4].description = "not a description";
    const size_t mapped = CallCount(Call::Mmap), unmapped = CallCount(Call::Munmap);
    EXPECT_EQ(0, service_->Init(5, kType, "", models));
    EXPECT_EQ(mapped + 2, CallCount(Call::Mmap));
    EXPECT_EQ(unmapped + 2, CallCount(Call::Munmap));

    // What a model does not bring it has from the one before.
    Entries seen;
    for (const AIModelDescription& model : script_.models) {
        seen.push_back(model.name() + ":");
        for (size_t i = 0; i < model.data_size(); ++i) {
            seen.back() += std::to_string(model.data()[i]);
        }
    }
    EXPECT_EQ((Entries{":", "a:123", "b:123", "c:45", "c:45"}), seen);
    EXPECT_EQ(kOpeningLines, log_.Take());
}

TEST_F(ModelBuffers, AreRefusedWhereTheirRegionCannotBeMapped) {
    Region good(4096), shorter(4095), empty(4096);
    empty.Get()->numFds = 0;
    ::orva::test::Handle closed((UniqueFd())), folder(UniqueFd(open("/", O_DIRECTORY | O_CLOEXEC)));
    const struct {
        const char* what;
        ::orva::test::Handle* handle;
        uint64_t size;
        Call fault;
    } cases[] = {
            {"size 0", &good, 0, Call::CopyMemory},
            {"2^63", &good, 1ULL << 63, Call::CopyMemory},
            {"too short", &shorter, 4096, Call::CopyMemory},
            {"no descriptor", &empty, 4096, Call::CopyMemory},
            {"closed", &closed, 4096, Call::CopyMemory},
            {"directory", &folder, 4096, Call::CopyMemory},
            {"mmap fails", &good, 4096, Call::Mmap},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        // Borrowed, as in a call from another process.
        ModelBuffer both[2];
        both[0].modelHandle = good.Get();
        both[0].size = 4096;
        both[1].modelHandle = each.handle->Get();
        both[1].size = each.size;
        hidl_vec<ModelBuffer> models;
        models.setToExternal(both, 2);
        log_.Take();
        {
            const Fault fault(each.fault, 2);
            EXPECT_EQ(1, service_->Init(5, kType, "", models));
        }
        EXPECT_EQ((Lines{Error("Init", "mmap fail")}), log_.Take(ANDROID_LOG_ERROR));
        service_->UnInit(5);
    }
}

}  // namespace
}  // namespace orva::hidl::test
