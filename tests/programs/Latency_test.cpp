/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Latency.h"

#include <gtest/gtest.h>

#include <vector>

namespace orva::client {
namespace {

using std::chrono::milliseconds;

TEST(Latency, PercentilesAreTimesThatWereMeasured) {
    Latency latency;
    for (int i = 100; i > 0; --i) {
        latency.add(milliseconds(i));
    }
    const struct {
        double part;
        double expected;
    } cases[] = {{0, 1}, {0.01, 1}, {0.5, 50}, {0.9, 90}, {0.99, 99}, {1, 100}};
    for (const auto& c : cases) {
        EXPECT_EQ(latency.percentile(c.part), c.expected) << c.part;
    }
}

}  // namespace
}  // namespace orva::client
