/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>

#include "common/ServiceActivity.h"

namespace orva::hidl {
namespace {

TEST(RequestCount, KnowsHowLongRequestsHaveTaken) {
    RequestCount requests;
    // Of which the later one ends first: nobody tells them apart.
    requests.Begin(1'000'000);
    requests.Begin(2'000'000);
    requests.End(5'000'000, true);
    requests.End(9'000'000, false);
    RequestCount::Seen seen = requests.Look();
    EXPECT_EQ(0U, seen.inFlight);
    EXPECT_EQ(1U, seen.done);
    EXPECT_EQ(11'000U, seen.micros);
    // What is under way counts as far as it has got.
    requests.Begin(ExactNow() - 1'000'000'000);
    seen = requests.Look();
    EXPECT_EQ(1U, seen.inFlight);
    EXPECT_GE(seen.micros, 1'011'000U);
    EXPECT_LT(seen.micros, 60'000'000U);
}

}  // namespace
}  // namespace orva::hidl
