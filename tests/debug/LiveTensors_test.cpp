/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/LiveTensors.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "support/Eventually.h"

namespace orva::hidl {
namespace {

TEST(LiveTensors, VeryManyAreStillCounted) {
    constexpr size_t kMany = 10'000;
    const auto marks = std::make_unique<TensorMark[]>(kMany);
    for (size_t i = 0; i < kMany; ++i) {
        marks[i].Set("A", 1);
    }
    const LiveTensors tensors = ListTensors();
    EXPECT_EQ(kMany, tensors.alive);
    EXPECT_LE(4000U, tensors.listed.size());
    for (size_t i = 0; i < kMany; ++i) {
        marks[i].Clear();
    }
    EXPECT_EQ(0U, ListTensors().alive + ListTensors().listed.size());
}

TEST(LiveTensors, AreReadWholeWhileOthersComeAndGo) {
    std::atomic<bool> ending{false};
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 3; ++i) {
        threads.emplace_back([&ending, i] {
            while (!ending) {
                TensorMark mark;
                mark.Set(&"CCC"[i], 3 - i);
            }
        });
    }
    bool whole = true;
    size_t seen = 0;
    EXPECT_TRUE(test::eventually([&] {
        for (const LiveTensor& tensor : ListTensors().listed) {
            ++seen;
            whole = whole && strlen(tensor.type) == tensor.bytes;
        }
        return seen >= 50;
    }));
    ending = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(whole);
}

}  // namespace
}  // namespace orva::hidl
