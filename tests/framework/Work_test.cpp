/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/Work.h"

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/ServiceNode.h>
#include <orva/reference/Settings.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "Support.h"
#include "executor/ThreadPool.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;

TEST(Cancellation, TellsEachListenerOnceAndKeepsTheFirstCause) {
    Cancellation cancellation;
    int early = 0, late = 0, gone = 0;
    const Cancellation::Listener first(cancellation, [&] { ++early; });
    {
        const Cancellation::Listener second(cancellation, [&] { ++gone; });
    }
    cancellation.Cancel(CancelCause::kClosed);
    cancellation.Cancel(CancelCause::kTimeout);
    const Cancellation::Listener third(cancellation, [&] { ++late; });
    EXPECT_EQ(1, early);
    EXPECT_EQ(1, late);
    EXPECT_EQ(0, gone);
    EXPECT_EQ(CancelCause::kClosed, cancellation.cause());
}

TEST(Work, EndsWithItsTimeAndWithItsClient) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const struct {
        const char* what;
        pid_t pid;
        std::chrono::nanoseconds limit;
        CancelCause cause;
        int32_t outcome;
    } cases[] = {
            {"its time is up", 0, 1ms, CancelCause::kTimeout, kNodeTimedOut},
            {"its client ends", child, 0ms, CancelCause::kClientGone, kNodeStopped},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        std::atomic<bool> told{false};
        Work work(Client::Of(each.pid), each.limit);
        const Cancellation::Listener listener(work.cancellation(), [&] { told = true; });
        EXPECT_EQ(5, work.Outcome(5)) << "it is not cancelled yet";
        kill(each.pid == 0 ? child : each.pid, each.pid == 0 ? 0 : SIGKILL);
        ASSERT_TRUE(test::Await(told));
        EXPECT_EQ(each.cause, work.cancellation().cause());
        EXPECT_EQ(each.outcome, work.Outcome(kNodeFailed));
        EXPECT_EQ(kNodeOk, work.Outcome(kNodeOk)) << "it was done all the same";
    }
    waitpid(child, nullptr, 0);
}

// Runs requests of a parameter: 0 at once, 1 until they are cancelled, 2 until they are let go.
struct Stubborn : RequestHandler {
    explicit Stubborn(const std::atomic<bool>& release) : release(release) {}
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&,
                 Cancellation& cancellation) override {
        return test::eventually([&] { return cancellation.IsCancelled(); }) ? kNodeFailed : kNodeOk;
    }
    int32_t Check(const Request&) const override { return kNodeOk; }
    int32_t Run(Request& request, Cancellation& cancellation) override {
        if (request.param == 1) {
            EXPECT_TRUE(test::eventually([&] { return cancellation.IsCancelled(); }));
            return kNodeFailed;
        }
        EXPECT_TRUE(request.param == 0 || test::Await(release));
        return kNodeOk;
    }
    const std::atomic<bool>& release;
};

// A node without the need to load.
struct Ready : Stubborn {
    using Stubborn::Stubborn;
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&, Cancellation&) override {
        return kNodeOk;
    }
};

int32_t Process(AIServiceBase& node, int32_t param) {
    AIContext context;
    context.SetPara("tag", std::to_string(param));
    return node.Process(context, {}, {}, param);
}

TEST(Work, RequestsAndLoadsThatTakeTooLongEndAndNobodyWaitsForThoseThatGoOn) {
    std::atomic<bool> release{false};
    const auto pool = std::make_shared<ThreadPool>(2, 4);
    const auto recorder = std::make_shared<test::Recorder>();
    std::vector<AIModelDescription> models;
    ServiceNode node(std::make_unique<Ready>(release), pool);
    ServiceNode loading(std::make_unique<Stubborn>(release), pool);
    ASSERT_EQ(kNodeOk, node.Init(AIConfig(), models));
    ASSERT_EQ(kNodeOk, node.RegisterListener(recorder));

    SetLoadTimeout(1ms);
    SetRunTimeout(1ms);
    EXPECT_EQ(kNodeTimedOut, loading.Init(AIConfig(), models));
    ASSERT_EQ(kNodeOk, Process(node, 1));
    ASSERT_EQ(kNodeOk, Process(node, 2));
    ASSERT_EQ(kNodeOk, Process(node, 0));
    // The last one ran although the one before it still does.
    const auto completions = recorder->Await(3);
    ASSERT_EQ(3U, completions.size());
    std::string story;
    for (const auto& completion : completions) {
        story += completion.tag + ":" + std::to_string(completion.result) + " ";
    }
    EXPECT_TRUE(story == "1:107 2:107 0:0 " || story == "1:107 0:0 2:107 ") << story;
    release = true;
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
    EXPECT_EQ(3U, recorder->Await(3).size()) << "and is not heard of again";
    SetLoadTimeout(1min);
    SetRunTimeout(1min);
}

TEST(Work, ARequestOfANodeThatGoesIsCancelled) {
    const std::atomic<bool> release{false};
    const auto pool = std::make_shared<ThreadPool>(1, 1);
    const auto recorder = std::make_shared<test::Recorder>();
    std::vector<AIModelDescription> models;
    auto node = std::make_unique<ServiceNode>(std::make_unique<Ready>(release), pool);
    ASSERT_EQ(kNodeOk, node->Init(AIConfig(), models));
    ASSERT_EQ(kNodeOk, node->RegisterListener(recorder));
    ASSERT_EQ(kNodeOk, Process(*node, 1));
    node.reset();
    EXPECT_EQ(kNodeStopped, recorder->Await(1).at(0).result);
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
}

// A client whose sessions all have something under way needs as many threads as it may have.
TEST(Work, RequestsBeyondAClientsThreadsAreRefused) {
    UseClientIdentity([] { return getpid(); });
    SetClientThreads(2);
    std::atomic<bool> release{false};
    const auto pool = std::make_shared<ThreadPool>(4, 4);
    const auto recorder = std::make_shared<test::Recorder>();
    std::vector<std::unique_ptr<ServiceNode>> nodes;
    std::vector<AIModelDescription> models;
    for (int i = 0; i < 3; ++i) {
        nodes.push_back(std::make_unique<ServiceNode>(std::make_unique<Ready>(release), pool));
        ASSERT_EQ(kNodeOk, nodes[i]->Init(AIConfig(), models));
        ASSERT_EQ(kNodeOk, nodes[i]->RegisterListener(recorder));
        EXPECT_EQ(i < 2 ? kNodeOk : kNodeBusy, Process(*nodes[i], 2));
    }
    EXPECT_EQ(kNodeOk, Process(*nodes[0], 0)) << "no further thread is needed";
    SetClientTensors(3);
    AIContext context;
    const test::Tensors two(2);
    EXPECT_EQ(kNodeBusy, nodes[0]->Process(context, two, two, 0)) << "four tensors";
    EXPECT_EQ(kNodeOk, nodes[0]->Process(context, two, {}, 0));
    EXPECT_EQ(kNodeBusy, nodes[0]->Process(context, two, {}, 0));
    SetClientTensors(4096);
    release = true;
    recorder->Await(4);
    EXPECT_TRUE(test::eventually([&] { return Process(*nodes[2], 0) == kNodeOk; }));
    nodes.clear();
    EXPECT_TRUE(pool->Shutdown(test::kWatchdog));
    SetClientThreads(96);
    UseClientIdentity({});
}

}  // namespace
}  // namespace orva::reference
