/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>

#include <gtest/gtest.h>

namespace {

using android::hardware::Return;
using android::hardware::Status;
using android::hardware::details::StatusOf;

Return<int> failed(android::status_t error = android::DEAD_OBJECT) {
    return Status::fromStatusT(error);
}

// Each ends the process; `message` is what it says then.
struct {
    void (*dies)();
    const char* message;
} const kDeaths[] = {
        {[] { Return<int> result = failed(); }, "nobody checked.*DEAD_OBJECT"},
        {[] {
             Return<int> overwritten = failed();
             overwritten = Return<int>(1);
             (void)overwritten.isOk();
         },
         "nobody checked"},
        {[] {
             const Return<int> handedOn = failed();
             const Return<bool> other = StatusOf<int, bool>(handedOn);
         },
         "nobody checked"},
        {[] { (void)static_cast<int>(failed()); }, "was used.*DEAD_OBJECT"},
};

TEST(ReturnDeathTest, AFailureIgnoredOrUsedEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const auto& each : kDeaths) {
        EXPECT_DEATH(each.dies(), each.message);
    }
}

TEST(Return, AnyCheckIsEnough) {
    EXPECT_FALSE(failed().isOk());
    EXPECT_TRUE(failed().isDeadObject());
    EXPECT_FALSE(failed(android::BAD_TYPE).isDeadObject());
    EXPECT_EQ(7, failed().withDefault(7));
    Return<int> result = failed();
    EXPECT_FALSE(result.isOk());
    // What was moved away need not be checked again, and what was checked stays so.
    const Return<int> moved = std::move(result);
    const Return<int> unused = 5;
}

TEST(Status, SaysWhatADevicesLogSays) {
    EXPECT_EQ("No error", Return<void>().description());
    EXPECT_EQ("Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '",
              Status::fromStatusT(android::DEAD_OBJECT).description());
    EXPECT_EQ("Status(EX_NULL_POINTER): ''",
              Status::fromExceptionCode(Status::EX_NULL_POINTER).description());
}

TEST(Status, TravelsAsItsCode) {
    const Status sent = Status::fromExceptionCode(Status::EX_NULL_POINTER);
    android::hardware::Parcel parcel;
    EXPECT_EQ(android::OK, writeToParcel(sent, &parcel));
    parcel.setDataPosition(0);
    Status received;
    EXPECT_EQ(android::OK, readFromParcel(&received, parcel));
    EXPECT_EQ(sent.description(), received.description());
}

}  // namespace
