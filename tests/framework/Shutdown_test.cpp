/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>
#include <orva/AINNNodeFactory.h>
#include <orva/reference/Executor.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/Settings.h>

#include "Support.h"

namespace orva::reference {
namespace {

// The framework's threads end once in a process, so all of it is one test.
TEST(Shutdown, EndsTheFrameworksThreadsForGood) {
    std::vector<AIModelDescription> models;
    AIContext context;
    const auto recorder = std::make_shared<test::Recorder>();
    const auto node = AINNNodeFactory::GetInstance()->CreateNNNode("echo");
    ASSERT_EQ(kNodeOk, node->Init(AIConfig(), models));
    ASSERT_EQ(kNodeOk, node->RegisterListener(recorder));
    EXPECT_EQ(0u, WorkerThreads()) << "threads come with requests";
    ASSERT_EQ(kNodeOk, node->Process(context, {}, {}, 0));
    ASSERT_EQ(1u, recorder->Await(1).size());
    EXPECT_EQ(1u, WorkerThreads());

    ASSERT_EQ(kNodeOk, node->Process(context, {}, {}, 0));
    EXPECT_TRUE(Shutdown(test::kWatchdog));
    EXPECT_EQ(2u, recorder->Await(0).size()) << "accepted before, so done by now";
    EXPECT_EQ(0u, WorkerThreads());
    EXPECT_EQ(kNodeStopped, node->Process(context, {}, {}, 0));
    EXPECT_TRUE(Shutdown(test::kWatchdog));
}

}  // namespace
}  // namespace orva::reference
