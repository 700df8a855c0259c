/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/Status.h>

#include <utils/RefBase.h>

#include <gtest/gtest.h>

namespace {

using android::sp;
using android::hardware::Return;
using android::hardware::Status;
using android::hardware::Void;
using android::hardware::details::StatusOf;

struct Parent : android::RefBase {};
struct Child : Parent {};

Return<int> failed(android::status_t error = android::DEAD_OBJECT) {
    return Status::fromStatusT(error);
}

// Each ends the process; `message` is what it says then.
struct {
    const char* what;
    void (*dies)();
    const char* message;
} const kDeaths[] = {
        {"unchecked value", [] { Return<int> result = failed(); }, "nobody checked.*DEAD_OBJECT"},
        {"unchecked void", [] { Return<void> result = Status::fromStatusT(android::BAD_VALUE); },
         "nobody checked.*BAD_VALUE"},
        {"overwritten unchecked",
         [] {
             Return<int> result = failed();
             result = Return<int>(1);
             (void)result.isOk();
         },
         "nobody checked"},
        {"moved unchecked",
         [] {
             Return<int> result = failed();
             Return<int> moved = std::move(result);
             (void)result.isOk();
         },
         "nobody checked"},
        {"handed on unchecked",
         [] {
             const Return<int> result = failed();
             const Return<bool> other = StatusOf<int, bool>(result);
         },
         "nobody checked"},
        {"value used",
         [] {
             const Return<int> result = failed();
             const int value = result;
             (void)value;
         },
         "was used.*DEAD_OBJECT"},
        {"object used",
         [] {
             const Return<sp<Parent>> result = Status::fromStatusT(android::NO_MEMORY);
             const sp<Parent> value = result;
         },
         "was used.*NO_MEMORY"},
        {"asserted", [] { failed().assertOk(); }, "was used"},
};

TEST(ReturnDeathTest, AFailureIgnoredOrUsedEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const auto& each : kDeaths) {
        EXPECT_DEATH(each.dies(), each.message) << each.what;
    }
}

TEST(Return, AnyCheckIsEnough) {
    { EXPECT_FALSE(failed().isOk()); }
    { EXPECT_TRUE(failed().isDeadObject()); }
    { EXPECT_FALSE(failed(android::BAD_TYPE).isDeadObject()); }
    { EXPECT_EQ(7, failed().withDefault(7)); }
    {
        Return<int> result = failed();
        EXPECT_FALSE(result.isOk());
        // What was moved away need not be checked again, and what was checked stays so.
        Return<int> moved = std::move(result);
    }
    { Return<int> unused = 5; }
    { Return<void> unused = Void(); }
}

TEST(Return, ASuccessGivesItsValue) {
    Return<int> number = 5;
    number = Return<int>(8);
    EXPECT_TRUE(number.isOk());
    EXPECT_FALSE(number.isDeadObject());
    EXPECT_EQ(8, static_cast<int>(number));
    EXPECT_EQ(8, number.withDefault(7));

    const sp<Child> child = new Child();
    const Return<sp<Parent>> upwards = child;
    EXPECT_EQ(child.get(), sp<Parent>(upwards).get());
    const Return<sp<Parent>> fromRaw = child.get();
    EXPECT_EQ(child.get(), sp<Parent>(fromRaw).get());
    const Return<sp<Parent>> null = sp<Parent>();
    EXPECT_TRUE(null.isOk());
    EXPECT_EQ(nullptr, sp<Parent>(null).get());
}

TEST(Return, AFailureIsHandedOnWhole) {
    const Return<int> result = Status::fromExceptionCode(Status::EX_NULL_POINTER, "no listener");
    const Return<sp<Parent>> other = StatusOf<int, sp<Parent>>(result);
    EXPECT_FALSE(other.isOk());
    EXPECT_EQ(result.description(), other.description());
}

TEST(Status, TellsTransportErrorsFromExceptions) {
    struct {
        Status status;
        bool ok;
        int32_t exception;
        android::status_t error;
        const char* description;
    } const cases[] = {
            {Status::fromStatusT(android::OK), true, Status::EX_NONE, android::OK, "no error"},
            {Status::fromStatusT(-12345), false, Status::EX_TRANSACTION_FAILED, -12345,
             "transaction failed (error -12345)"},
            {Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, "null callback"), false,
             Status::EX_ILLEGAL_ARGUMENT, android::OK, "illegal argument: null callback"},
            {Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED, "queue full"), false,
             Status::EX_TRANSACTION_FAILED, android::FAILED_TRANSACTION,
             "transaction failed (FAILED_TRANSACTION): queue full"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.ok, each.status.isOk()) << each.description;
        EXPECT_EQ(each.exception, each.status.exceptionCode()) << each.description;
        EXPECT_EQ(each.error, each.status.transactionError()) << each.description;
        EXPECT_EQ(each.description, each.status.description());
    }
}

TEST(Status, ALaterResultReplacesAnEarlierOne) {
    Status status = Status::fromExceptionCode(Status::EX_SECURITY, "not yours");
    status.setFromStatusT(android::OK);
    EXPECT_TRUE(status.isOk());
    EXPECT_STREQ("", status.exceptionMessage());
}

}  // namespace
