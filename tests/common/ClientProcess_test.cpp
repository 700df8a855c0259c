/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ClientProcess.h"

#include <gtest/gtest.h>

#include "support/CallingProcess.h"
#include "support/Machine.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace orva::hidl {
namespace {

using test::CallsFrom;
using test::IdleProcess;

std::shared_ptr<ClientProcess> CallingFrom(pid_t pid) {
    const CallsFrom client(pid);
    return ClientProcess::Calling();
}

using ClientProcessTest = test::ResourceTest;

TEST_F(ClientProcessTest, IsOneObjectForAll) {
    const auto own = ClientProcess::Calling();
    EXPECT_EQ(getpid(), own->Pid());
    EXPECT_EQ(own, ClientProcess::Calling());
    IdleProcess process;
    auto other = CallingFrom(process.Pid());
    EXPECT_NE(own, other);
    EXPECT_EQ(process.Pid(), other->Pid());
    EXPECT_FALSE(ClientProcess::LookForEnded());
    EXPECT_EQ(2U, ClientProcess::All().size());
    other = nullptr;
    EXPECT_EQ(std::vector{own}, ClientProcess::All());
}

// Also when nobody has waited for it yet.
TEST_F(ClientProcessTest, IsFoundToHaveEnded) {
    IdleProcess process;
    auto ended = CallingFrom(process.Pid());
    process.End();
    EXPECT_FALSE(ended->HasEnded());
    EXPECT_TRUE(ClientProcess::LookForEnded());
    EXPECT_TRUE(ended->HasEnded());
    // The next of the number is another one, and the first is told of as long as anything of it is
    // held.
    const auto next = CallingFrom(process.Pid());
    EXPECT_NE(ended, next);
    EXPECT_EQ(next, CallingFrom(process.Pid()));
    EXPECT_FALSE(next->HasEnded());
    EXPECT_TRUE(ClientProcess::LookForEnded());
    EXPECT_EQ(2U, ClientProcess::All().size());
    ended = nullptr;
    EXPECT_EQ(std::vector{next}, ClientProcess::All());
}

// A kernel without descriptors of processes knows only which numbers there are.
TEST_F(ClientProcessTest, IsFoundToHaveEndedOnOlderKernels) {
    IdleProcess process;
    const test::Fault fault(test::Call::SystemCall);
    const auto client = CallingFrom(process.Pid());
    EXPECT_TRUE(fault.Happened());
    EXPECT_FALSE(ClientProcess::LookForEnded());
    process.Reap();
    EXPECT_TRUE(ClientProcess::LookForEnded());
    EXPECT_TRUE(client->HasEnded());
}

TEST_F(ClientProcessTest, NeverEndsWhereItHasNoNumber) {
    const auto unknown = CallingFrom(0);
    EXPECT_FALSE(ClientProcess::LookForEnded());
}

TEST_F(ClientProcessTest, HasAProgramWhileItRuns) {
    EXPECT_EQ(test::programOf("common_test"), ProgramOf(getpid()));
    EXPECT_EQ("", ProgramOf(-1));
}

TEST_F(ClientProcessTest, HasBoundsOfItsOwn) {
    constexpr uint64_t kMapped = ClientProcess::kMostMapped, kHollow = ClientProcess::kMostHollow;
    ClientProcess one(1), other(2);
    EXPECT_TRUE(one.CountMapping(kMapped - 10, kHollow - 4));
    const struct {
        uint64_t length, hollow;
        bool fits;
    } cases[] = {
            {11, 0, false}, {UINT64_MAX, 0, false}, {10, 5, false}, {10, 4, true}, {1, 0, false},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.fits, one.CountMapping(each.length, each.hollow)) << each.length;
    }
    EXPECT_TRUE(other.CountMapping(kMapped, kHollow));
    one.ForgetMapping(10, 4);
    EXPECT_TRUE(one.CountMapping(10, 4));
    EXPECT_EQ(2U, one.Mapped().mappings);
    EXPECT_EQ(kMapped, one.Mapped().mapped);
    EXPECT_EQ(kHollow, one.Mapped().hollow);
    one.ForgetMapping(kMapped, kHollow);
    other.ForgetMapping(kMapped, kHollow);
    // The largest build has room, and what addresses of 39 bits have is not one client's.
    EXPECT_LT(uint64_t{200} << 20, kHollow);
    EXPECT_LE(kMapped, uint64_t{1} << 36);
}

}  // namespace
}  // namespace orva::hidl
