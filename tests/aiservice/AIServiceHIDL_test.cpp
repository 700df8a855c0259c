/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <climits>

#include "common/ServiceId.h"
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {

const char kTag[] = "AIServiceHIDL";

namespace {

using android::sp;
using android::hardware::hidl_string;
using AIServiceSessions = ServiceTest;

TEST_F(AIServiceSessions, ConfigEndsAtItsFirstNul) {
    constexpr char text[] = "{\"a\":\"b\"}\0never read";
    EXPECT_EQ(0, service_->Init(5, kType, hidl_string(text, sizeof(text) - 1), {}));
    EXPECT_EQ("b", script_.config.GetPara("a"));
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
    service_->OnProcessDone(kId, Context("v"), 0, {});
    EXPECT_EQ(1, listener->getStrongCount());
}

TEST(ServiceId, NegatedNumbersAlwaysHaveAMeaning) {
    EXPECT_EQ(5, ListenerClientId(-5));
    EXPECT_EQ(INT32_MAX, ListenerClientId(-INT32_MAX));
    EXPECT_EQ(INT32_MIN, ListenerClientId(INT32_MIN));
    EXPECT_EQ(std::to_string(getpid()) + ":-2147483648", MakeServiceId(INT32_MIN));
}

}  // namespace
}  // namespace orva::hidl::test
