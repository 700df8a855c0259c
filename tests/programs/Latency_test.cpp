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

TEST(Latency, OneRequestIsAllPercentiles) {
    Latency latency;
    latency.add(milliseconds(7));
    for (const double part : {0.0, 0.5, 1.0}) {
        EXPECT_EQ(latency.percentile(part), 7);
    }
    EXPECT_EQ(latency.text(), "latency 7.00 ms");
}

}  // namespace
}  // namespace orva::client
