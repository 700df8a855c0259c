/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ClientProcess.h"

#include <gtest/gtest.h>

#include "support/CallingProcess.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace orva::hidl {
namespace {

using test::CallsFrom;
using test::IdleProcess;

std::shared_ptr<ClientProcess> Watch(pid_t pid) {
    const CallsFrom client(pid);
    return ClientProcess::CallingWatched();
}

using ClientProcessTest = test::ResourceTest;

TEST_F(ClientProcessTest, IsOneObjectForAll) {
    const auto own = ClientProcess::Calling();
    EXPECT_EQ(getpid(), own->Pid());
    EXPECT_EQ(own, ClientProcess::CallingWatched());
    EXPECT_TRUE(ClientProcess::Ended().empty());
    IdleProcess process;
    const auto other = Watch(process.Pid());
    EXPECT_NE(own, other);
    EXPECT_EQ(process.Pid(), other->Pid());
    EXPECT_TRUE(ClientProcess::Ended().empty());
}

// Also when nobody has waited for it yet.
TEST_F(ClientProcessTest, IsFoundToHaveEnded) {
    IdleProcess process;
    auto watched = Watch(process.Pid());
    process.End();
    EXPECT_EQ(ClientProcesses{watched}, ClientProcess::Ended());
    // The next of the number is another one.
    const auto next = Watch(process.Pid());
    EXPECT_NE(watched, next);
    EXPECT_EQ(2U, ClientProcess::Ended().size());
    watched = nullptr;
    EXPECT_EQ(ClientProcesses{next}, ClientProcess::Ended());
}

// A kernel without descriptors of processes knows only which numbers there are.
TEST_F(ClientProcessTest, IsFoundToHaveEndedOnOlderKernels) {
    IdleProcess process;
    const test::Fault fault(test::Call::SystemCall);
    const auto watched = Watch(process.Pid());
    EXPECT_TRUE(fault.Happened());
    EXPECT_TRUE(ClientProcess::Ended().empty());
    process.Reap();
    EXPECT_EQ(ClientProcesses{watched}, ClientProcess::Ended());
}

TEST_F(ClientProcessTest, NeverEndsWhereItHasNoNumber) {
    const auto unknown = Watch(0);
    EXPECT_TRUE(ClientProcess::Ended().empty());
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
    one.ForgetMapping(kMapped, kHollow);
    other.ForgetMapping(kMapped, kHollow);
    // The largest build has room, and what addresses of 39 bits have is not one client's.
    EXPECT_LT(uint64_t{200} << 20, kHollow);
    EXPECT_LE(kMapped, uint64_t{1} << 36);
}

}  // namespace
}  // namespace orva::hidl
