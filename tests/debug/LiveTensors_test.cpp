/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/LiveTensors.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "support/Eventually.h"

namespace orva::hidl {
namespace {

TEST(LiveTensors, AreListedWhileTheyLive) {
    TensorMark first;
    {
        TensorMark second, never;
        first.Set("A", 1);
        second.Set("B", 2);
        first.Set("A", 3);
        LiveTensors tensors = ListTensors();
        ASSERT_EQ(2U, tensors.alive);
        ASSERT_EQ(2U, tensors.listed.size());
        std::sort(tensors.listed.begin(), tensors.listed.end(),
                  [](const auto& left, const auto& right) { return left.bytes < right.bytes; });
        EXPECT_STREQ("B", tensors.listed[0].type);
        EXPECT_STREQ("A", tensors.listed[1].type);
        EXPECT_EQ(3U, tensors.listed[1].bytes);
        EXPECT_EQ(getpid(), tensors.listed[1].pid);
        EXPECT_LE(0, tensors.listed[1].mappedFor);
    }
    EXPECT_EQ(1U, ListTensors().listed.size());
    first.Clear();
    EXPECT_EQ(0U, ListTensors().alive);
}

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
            const char* const types[] = {"A", "BB", "CCC"};
            while (!ending) {
                TensorMark mark;
                mark.Set(types[i], strlen(types[i]));
            }
        });
    }
    size_t seen = 0;
    bool whole = true;
    EXPECT_TRUE(test::eventually([&] {
        for (const LiveTensor& tensor : ListTensors().listed) {
            ++seen;
            whole = whole && strlen(tensor.type) == tensor.bytes;
        }
        return seen >= 50 || !whole;
    }));
    ending = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(whole);
}

}  // namespace
}  // namespace orva::hidl
