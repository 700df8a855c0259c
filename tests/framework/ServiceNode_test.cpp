/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ServiceNode.h>

#include <gtest/gtest.h>
#include <orva/AIServiceConnectManager.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestTimes.h>
#include <orva/reference/Settings.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "Support.h"
#include "executor/ThreadPool.h"
#include "support/LogCapture.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;
using test::Await;

// Does what the test says, and refuses parameters below 0.
struct Script {
    std::function<int32_t(Request&, Cancellation&)> run;
    size_t concurrency = 1;
    std::function<int32_t(Cancellation&)> load = [](Cancellation&) { return kNodeOk; };
};
struct Scripted : RequestHandler {
    explicit Scripted(Script script) : script(std::move(script)) {}
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&,
                 Cancellation& cancellation) override {
        return script.load(cancellation);
    }
    int32_t Check(const Request& request) const override { return request.param < 0 ? 5 : kNodeOk; }
    int32_t Run(Request& request, Cancellation& cancellation) override {
        return script.run(request, cancellation);
    }
    size_t Concurrency() const override { return script.concurrency; }

    const Script script;
};

struct Node : ServiceNode {
    Node(const std::shared_ptr<ThreadPool>& pool, Script script)
            : ServiceNode(std::make_unique<Scripted>(std::move(script)), pool) {}
    int32_t Open(const std::shared_ptr<test::Recorder>& recorder, const char* times = "") {
        AIConfig config;
        config.SetPara("times", times);
        std::vector<AIModelDescription> models;
        const int32_t status = Init(config, models);
        return status == kNodeOk ? RegisterListener(recorder) : status;
    }
    int32_t Ask(int32_t param, const test::Tensors& in = {}, const test::Tensors& out = {}) {
        AIContext context;
        context.SetPara("tag", std::to_string(param));
        return Process(context, in, out, param);
    }
};

struct ServiceNodes : testing::Test {
    void End() { EXPECT_TRUE(pool->Shutdown(test::kWatchdog)); }

    // Requests of a parameter: 0 ends at once, 1 when it is cancelled, 2 when it is let go.
    const Script stubborn = {[this](Request& request, Cancellation& cancellation) -> int32_t {
        if (request.param == 1) {
            EXPECT_TRUE(test::eventually([&] { return cancellation.IsCancelled(); }));
            return kNodeFailed;
        }
        EXPECT_TRUE(request.param == 0 || Await(release));
        return kNodeOk;
    }};
    std::atomic<bool> started{false}, release{false};
    const std::shared_ptr<ThreadPool> pool = std::make_shared<ThreadPool>(4, 8);
    const std::shared_ptr<test::Recorder> recorder = std::make_shared<test::Recorder>();
};

TEST_F(ServiceNodes, ReportEachAcceptedRequestOnceAndInOrderAlsoWhenTheyHaveGone) {
    const Script script = {[&](Request& request, Cancellation&) {
        if (request.param == 3) {
            throw std::runtime_error("not this\none");
        }
        if (request.param == 50) {
            started = true;
            EXPECT_TRUE(Await(release));
        }
        request.context.SetPara("tag", "ran");
        return request.param;
    }};
    auto node = std::make_shared<Node>(pool, script);
    EXPECT_NE(kNodeOk, node->Open(nullptr));
    EXPECT_EQ(kNodeNotReady, node->Open(recorder)) << "initialised already";
    EXPECT_EQ(kNodeNotReady, node->Ask(0)) << "without a listener";
    ASSERT_EQ(kNodeOk, node->RegisterListener(recorder));
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(kNodeOk, node->Ask(i));
        ASSERT_EQ(5, node->Ask(-1));
    }
    ASSERT_TRUE(Await(started));
    // Of 128 that may wait, 50 have not been heard of yet.
    int more = 0;
    while (node->Ask(100) == kNodeOk) {
        ++more;
    }
    EXPECT_EQ(78, more);
    EXPECT_EQ(kNodeBusy, node->Ask(100));
    const auto seen = LatestRequests();
    ASSERT_EQ(1u, seen.size());
    ASSERT_EQ(32u, seen[0].requests.size());
    int i = 34;
    for (const RequestTimes& request : seen[0].requests) {
        using Stage = RequestTimes::Stage;
        EXPECT_EQ(i < 50    ? Stage::kEnded
                  : i == 50 ? Stage::kRunning
                            : Stage::kWaiting,
                  request.stage);
        EXPECT_EQ(i < 50 ? i : 0, request.result);
        EXPECT_EQ(i <= 50, request.ran > 0ns);
        EXPECT_LE(request.waited + request.ran, request.age);
        ++i;
    }
    node.reset();
    release = true;
    End();
    const auto completions = recorder->Await(178);
    ASSERT_EQ(178u, completions.size());
    for (int i = 0; i < 100; ++i) {
        const bool ran = i != 3 && i <= 50;
        // The one that was under way failed, as far as anybody knows because it was cancelled.
        const int32_t result = i < 50 && ran ? i : i == 3 ? kNodeFailed : kNodeStopped;
        EXPECT_EQ(result, completions[i].result);
        EXPECT_EQ(ran ? "ran" : std::to_string(i), completions[i].tag);
        EXPECT_EQ(1u, completions[i].context.paras().size()) << "nothing but what the client sent";
    }
    EXPECT_EQ(1, recorder.use_count()) << "nothing is left of the node";
    EXPECT_TRUE(LatestRequests().empty());
}

TEST_F(ServiceNodes, RunAsManyRequestsAtATimeAsTheHandlerTakesAndTellTheirTimes) {
    constexpr int kAtATime = 3;
    std::atomic<int> running{0}, most{0};
    std::atomic<bool> full{false};
    const auto run = [&](Request& request, Cancellation&) {
        most = std::max<int>(most, ++running);
        full = full || running == kAtATime;
        // The first one holds its line, and is waited for by nobody else.
        EXPECT_TRUE(Await(request.param == 0 ? release : full));
        --running;
        return kNodeOk;
    };
    Node node(pool, {run, kAtATime});
    ASSERT_EQ(kNodeOk, node.Open(recorder, "true"));
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 7; ++i) {
        ASSERT_EQ(kNodeOk, node.Ask(i));
    }
    // Behind the first one wait two at most of the six.
    EXPECT_LE(4u, recorder->Await(4).size());
    release = true;
    const auto completions = recorder->Await(7);
    const auto all = std::chrono::steady_clock::now() - begin;
    ASSERT_EQ(7u, completions.size());
    EXPECT_EQ(kAtATime, most);
    for (const auto& [tag, result, context] : completions) {
        const long queued = std::stol(context.GetPara("queueMicros"));
        const long ran = std::stol(context.GetPara("runMicros"));
        EXPECT_EQ(kNodeOk, result);
        EXPECT_TRUE(queued >= 0 && ran >= 0 && (queued + ran) * 1us <= all) << tag;
    }
    End();
}

TEST_F(ServiceNodes, EndWhatTakesTooLongAndWaitForNothingThatGoesOn) {
    Node node(pool, stubborn);
    Node loading(pool,
                 {{}, 1, [](Cancellation& cancellation) -> int32_t {
                      EXPECT_TRUE(test::eventually([&] { return cancellation.IsCancelled(); }));
                      return kNodeFailed;
                  }});
    ASSERT_EQ(kNodeOk, node.Open(recorder));
    SetLoadTimeout(1ms);
    SetRunTimeout(1ms);
    EXPECT_EQ(kNodeTimedOut, loading.Open(recorder));
    for (const int param : {1, 2, 0}) {
        ASSERT_EQ(kNodeOk, node.Ask(param));
    }
    // The last one ran although the one before it still does.
    std::string story;
    for (const auto& completion : recorder->Await(3)) {
        story += completion.tag + ":" + std::to_string(completion.result) + " ";
    }
    EXPECT_TRUE(story == "1:107 2:107 0:0 " || story == "1:107 0:0 2:107 ") << story;
    release = true;
    End();
    EXPECT_EQ(3U, recorder->Await(3).size()) << "and is not heard of again";
    SetLoadTimeout(1min);
    SetRunTimeout(1min);
}

// A client whose sessions all have something under way needs as many threads as it may have.
TEST_F(ServiceNodes, RefuseRequestsBeyondWhatAClientMayHave) {
    UseClientIdentity([] { return getpid(); });
    SetClientThreads(2);
    std::vector<std::unique_ptr<Node>> nodes;
    for (int i = 0; i < 3; ++i) {
        nodes.push_back(std::make_unique<Node>(pool, stubborn));
        ASSERT_EQ(kNodeOk, nodes[i]->Open(recorder));
        EXPECT_EQ(i < 2 ? kNodeOk : kNodeBusy, nodes[i]->Ask(2));
    }
    EXPECT_EQ(kNodeOk, nodes[0]->Ask(0)) << "no further thread is needed";
    SetClientTensors(3);
    const test::Tensors two(2);
    EXPECT_EQ(kNodeBusy, nodes[0]->Ask(0, two, two)) << "four tensors";
    EXPECT_EQ(kNodeOk, nodes[0]->Ask(0, two));
    EXPECT_EQ(kNodeBusy, nodes[0]->Ask(0, two));
    SetClientTensors(4096);
    release = true;
    recorder->Await(4);
    EXPECT_TRUE(test::eventually([&] { return nodes[2]->Ask(0) == kNodeOk; }));
    // What is over, or was refused, has no place any more.
    recorder->Await(5);
    SetClientRequests(1);
    EXPECT_TRUE(test::eventually([&] { return nodes[2]->Ask(0) == kNodeOk; }));
    SetClientRequests(512);
    nodes.clear();
    End();
    SetClientThreads(96);
    UseClientIdentity({});
}

TEST_F(ServiceNodes, NameTheSessionInTheLogOnceACallHasToldIt) {
    const auto fail = [](Request&, Cancellation&) -> int32_t { throw std::runtime_error("no"); };
    UseClientIdentity([] { return getpid(); });
    Node node(pool, {fail}), other(pool, {fail});
    UseClientIdentity({});
    test::LogCapture log;
    ASSERT_EQ(kNodeOk, node.Open(recorder));
    EXPECT_EQ(kNodeNotReady, node.Open(recorder));
    AIServiceConnectManager::GetInstance()->UpdateServiceTime("42:7");
    EXPECT_EQ(kNodeOk, node.Ask(0));
    recorder->Await(1);
    EXPECT_EQ(kNodeNotReady, other.Ask(0)) << "which no call has told of";
    End();
    AIServiceConnectManager::GetInstance()->RemoveServiceTime("42:7");
    const std::string process = "process " + std::to_string(getpid());
    EXPECT_EQ("E Try: " + process + ": initialised already\nE Guarded: 42:7: request failed: no\n" +
                      "E Process: " + process +
                      ": a request before the node has been initialised\n",
              log.Story("ORVA"));
}

}  // namespace
}  // namespace orva::reference
