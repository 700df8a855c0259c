/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ServiceNode.h>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>

#include <functional>
#include <stdexcept>

#include "Support.h"
#include "executor/ThreadPool.h"

namespace orva::reference {
namespace {

using test::Flag;
using test::Recorder;

// A handler of which each test says what it does.
struct Scripted : RequestHandler {
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&) override { return loadStatus; }
    int32_t Check(const Request& request) const override { return request.param < 0 ? 5 : kNodeOk; }
    int32_t Run(Request& request) override { return run(request); }

    int32_t loadStatus = kNodeOk;
    std::function<int32_t(Request&)> run = [](Request&) { return kNodeOk; };
};

class ServiceNodeTest : public testing::Test {
protected:
    static int32_t Init(AIServiceBase& node) {
        std::vector<AIModelDescription> models;
        return node.Init(AIConfig(), models);
    }
    static int32_t Process(AIServiceBase& node, const std::string& tag = "", int32_t param = 0) {
        AIContext context;
        context.SetPara("tag", tag);
        return node.Process(context, {}, {}, param);
    }
    // A node that is ready for requests, does this with them and reports to recorder_.
    std::shared_ptr<ServiceNode> MakeReady(std::function<int32_t(Request&)> run) {
        auto handler = std::make_unique<Scripted>();
        handler->run = std::move(run);
        auto node = std::make_shared<ServiceNode>(std::move(handler), pool_);
        EXPECT_EQ(kNodeOk, Init(*node));
        EXPECT_EQ(kNodeOk, node->RegisterListener(recorder_));
        return node;
    }

    std::shared_ptr<ThreadPool> pool_ = std::make_shared<ThreadPool>(2, 4);
    std::shared_ptr<Recorder> recorder_ = std::make_shared<Recorder>();
};

TEST_F(ServiceNodeTest, TakesRequestsOnlyWhenItIsReady) {
    auto owned = std::make_unique<Scripted>();
    Scripted& handler = *owned;
    handler.loadStatus = 77;
    ServiceNode node(std::move(owned), pool_);
    EXPECT_EQ(77, Init(node));
    EXPECT_EQ(kNodeNotReady, Process(node));
    handler.loadStatus = kNodeOk;
    EXPECT_EQ(kNodeOk, Init(node));
    EXPECT_EQ(kNodeNotReady, Init(node));
    EXPECT_NE(kNodeOk, node.RegisterListener(nullptr));
    EXPECT_EQ(kNodeNotReady, Process(node)) << "no listener";
}

TEST_F(ServiceNodeTest, ReportsEachAcceptedRequestInOrder) {
    const auto node = MakeReady([](Request& request) {
        if (request.param == 3) {
            throw std::runtime_error("not this\none");
        }
        request.context.SetPara("tag", std::to_string(request.param));
        return request.param;
    });
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(kNodeOk, Process(*node, "unchanged", i));
        ASSERT_EQ(5, Process(*node, "refused", -1));
    }
    const auto completions = recorder_->Await(100);
    ASSERT_TRUE(pool_->Shutdown(test::kWatchdog));
    ASSERT_EQ(100u, recorder_->Await(100).size());
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(i == 3 ? kNodeFailed : i, completions[i].result);
        EXPECT_EQ(i == 3 ? "unchanged" : std::to_string(i), completions[i].tag);
    }
}

TEST_F(ServiceNodeTest, ItsRequestsOutliveIt) {
    Flag started;
    Flag release;
    auto node = MakeReady([&](Request&) {
        started.Raise();
        EXPECT_TRUE(release.Await());
        return 7;
    });
    for (const char* tag : {"running", "waiting", "waiting too"}) {
        ASSERT_EQ(kNodeOk, Process(*node, tag));
    }
    ASSERT_TRUE(started.Await());
    node.reset();
    release.Raise();
    const auto completions = recorder_->Await(3);
    ASSERT_EQ(3u, completions.size());
    EXPECT_EQ(7, completions[0].result);
    EXPECT_EQ(kNodeStopped, completions[1].result);
    EXPECT_EQ("waiting too", completions[2].tag);
    EXPECT_EQ(kNodeStopped, completions[2].result);
    ASSERT_TRUE(pool_->Shutdown(test::kWatchdog));
    EXPECT_EQ(1, recorder_.use_count()) << "nothing is left of the node";
}

// Keeps each completion waiting, as a client that does not answer does.
class StuckListener : public AIServiceListener {
public:
    void OnProcessDone(const AIContext&, int32_t, const test::Tensors&) override {
        called.Raise();
        EXPECT_TRUE(release.Await());
    }
    void OnServiceDied() override {}

    Flag called;
    Flag release;
};

TEST_F(ServiceNodeTest, StuckClientsDoNotHoldUpOthers) {
    // As many as the pool has threads for at first.
    std::vector<std::shared_ptr<StuckListener>> stuck;
    std::vector<std::shared_ptr<ServiceNode>> nodes;
    for (int i = 0; i < 2; ++i) {
        stuck.push_back(std::make_shared<StuckListener>());
        nodes.push_back(MakeReady([](Request&) { return kNodeOk; }));
        nodes[i]->RegisterListener(stuck[i]);
        ASSERT_EQ(kNodeOk, Process(*nodes[i]));
        ASSERT_EQ(kNodeOk, Process(*nodes[i]));
        ASSERT_TRUE(stuck[i]->called.Await());
    }
    const auto node = MakeReady([](Request&) { return kNodeOk; });
    ASSERT_EQ(kNodeOk, Process(*node));
    EXPECT_EQ(1u, recorder_->Await(1).size());
    for (const auto& listener : stuck) {
        listener->release.Raise();
    }
}

}  // namespace
}  // namespace orva::reference
