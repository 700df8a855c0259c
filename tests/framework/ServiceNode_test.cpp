/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ServiceNode.h>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>

#include "Support.h"
#include "executor/ThreadPool.h"

namespace orva::reference {
namespace {

// Runs what the test says, and refuses parameters below 0.
struct Scripted : RequestHandler {
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&, Cancellation&) override {
        return kNodeOk;
    }
    int32_t Check(const Request& request) const override { return request.param < 0 ? 5 : kNodeOk; }
    int32_t Run(Request& request, Cancellation& cancellation) override {
        return run(request, cancellation);
    }

    size_t Concurrency() const override { return concurrency; }

    std::function<int32_t(Request&, Cancellation&)> run;
    size_t concurrency = 1;
};

int32_t Process(AIServiceBase& node, int32_t param) {
    AIContext context;
    context.SetPara("tag", "unchanged");
    return node.Process(context, {}, {}, param);
}

TEST(ServiceNode, ReportsEachAcceptedRequestOnceAndInOrderAlsoWhenItHasGone) {
    std::atomic<bool> started{false}, release{false};
    auto handler = std::make_unique<Scripted>();
    handler->run = [&](Request& request, Cancellation&) {
        if (request.param == 3) {
            throw std::runtime_error("not this\none");
        }
        if (request.param == 50) {
            started = true;
            EXPECT_TRUE(test::Await(release));
        }
        request.context.SetPara("tag", std::to_string(request.param));
        return request.param;
    };
    const auto pool = std::make_shared<ThreadPool>(2, 4);
    const auto recorder = std::make_shared<test::Recorder>();
    auto node = std::make_shared<ServiceNode>(std::move(handler), pool);
    std::vector<AIModelDescription> models;
    ASSERT_EQ(kNodeOk, node->Init(AIConfig(), models));
    EXPECT_EQ(kNodeNotReady, node->Init(AIConfig(), models));
    EXPECT_NE(kNodeOk, node->RegisterListener(nullptr));
    EXPECT_EQ(kNodeNotReady, Process(*node, 0)) << "without a listener";
    ASSERT_EQ(kNodeOk, node->RegisterListener(recorder));
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(kNodeOk, Process(*node, i));
        ASSERT_EQ(5, Process(*node, -1));
    }
    ASSERT_TRUE(test::Await(started));
    // Of 128 that may wait, 50 have not been heard of yet.
    int more = 0;
    while (Process(*node, 100) == kNodeOk) {
        ++more;
    }
    EXPECT_EQ(78, more);
    EXPECT_EQ(kNodeBusy, Process(*node, 100));
    node.reset();
    release = true;
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
    const auto completions = recorder->Await(100 + more);
    ASSERT_EQ(100u + static_cast<size_t>(more), completions.size());
    for (int i = 0; i < 100; ++i) {
        const bool ran = i != 3 && i <= 50;
        // The one that was under way failed, as far as anybody knows because it was cancelled.
        const int32_t result = i < 50 && ran ? i : i == 3 ? kNodeFailed : kNodeStopped;
        EXPECT_EQ(result, completions[i].result);
        EXPECT_EQ(ran ? std::to_string(i) : "unchanged", completions[i].tag);
        EXPECT_EQ(1u, completions[i].context.paras().size()) << "nothing but what the client sent";
    }
    EXPECT_EQ(1, recorder.use_count()) << "nothing is left of the node";
}

TEST(ServiceNode, RunsAsManyRequestsAtATimeAsTheHandlerTakesAndTellsTheirTimes) {
    constexpr int kAtATime = 3;
    std::atomic<int> running{0}, most{0};
    std::atomic<bool> full{false}, release{false};
    auto handler = std::make_unique<Scripted>();
    handler->concurrency = kAtATime;
    handler->run = [&](Request& request, Cancellation&) {
        most = std::max<int>(most, ++running);
        full = full || running == kAtATime;
        // The first one holds its line, and is waited for by nobody else.
        EXPECT_TRUE(request.param == 0 ? test::Await(release) : test::Await(full));
        --running;
        return kNodeOk;
    };
    const auto pool = std::make_shared<ThreadPool>(8, 8);
    const auto recorder = std::make_shared<test::Recorder>();
    ServiceNode node(std::move(handler), pool);
    std::vector<AIModelDescription> models;
    AIConfig config;
    config.SetPara("times", "true");
    ASSERT_EQ(kNodeOk, node.Init(config, models));
    ASSERT_EQ(kNodeOk, node.RegisterListener(recorder));
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 7; ++i) {
        AIContext context;
        context.SetPara("tag", std::to_string(i));
        ASSERT_EQ(kNodeOk, node.Process(context, {}, {}, i));
    }
    // Behind the first one wait two at most of the six.
    EXPECT_LE(4u, recorder->Await(4).size());
    release = true;
    const auto completions = recorder->Await(7);
    const std::chrono::microseconds all = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - begin);
    ASSERT_EQ(7u, completions.size());
    EXPECT_EQ(kAtATime, most);
    for (const auto& [tag, result, context] : completions) {
        const long queued = std::stol(context.GetPara("queueMicros"));
        const long ran = std::stol(context.GetPara("runMicros"));
        EXPECT_EQ(kNodeOk, result);
        EXPECT_LE(0, queued);
        EXPECT_LE(0, ran);
        EXPECT_LE(queued + ran, all.count()) << tag;
    }
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
}

}  // namespace
}  // namespace orva::reference
