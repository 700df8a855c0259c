/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The model manager service across processes: its limits, its dead clients, and what no client may
// do to it.

#include "client/lib/ManagerSession.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_vec;
using client::ManagerSession;
using client::ModelManagerService;
using client::SharedRegion;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using vendor::selkat::hardware::ai::V2_0::TensorDimension;

ModelBuffer bufferOf(const SharedRegion& region, uint64_t size) {
    return {"", region.handle(), size, ""};
}

class ModelManagers : public SystemTest {
protected:
    void start(const std::vector<std::string>& options = {"--log-level", "info"}) {
        startHost(options);
        service = client::findService<ModelManagerService>();
    }
    void TearDown() override {
        service = nullptr;
        SystemTest::TearDown();
    }

    // The status; `answers` counts the callbacks.
    int32_t build(const std::vector<ModelBuffer>& sources, const ModelBuffer& output) {
        int32_t result = -1;
        EXPECT_TRUE(service->BuildModel(1, "", 0, sources, output,
                                        [&](uint32_t size, int32_t status) {
                                            ++answers;
                                            result = status;
                                            EXPECT_TRUE(size == 0 || status == 0);
                                        })
                            .isOk());
        return result;
    }

    android::sp<ModelManagerService> service;
    int answers = 0;
};

TEST_F(ModelManagers, TwoHundredAndOneSessionsOfManyProcesses) {
    start({"--log-level", "info", "--max-clients", "300"});
    std::vector<std::unique_ptr<ClientProcess>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(newClient());
        ASSERT_EQ(clients.back()->ask("manage 1 67"), "0");
    }
    const ProcessState now = ProcessState::of(host().pid());
    EXPECT_LE(now.threads, 8U + 16U) << "no thread is a session's own";
    const auto late = newClient();
    EXPECT_EQ(late->ask("manage 1 1"), "1");
    EXPECT_TRUE(host().log().await("AIModelManagerImpl count more than 200"));
    EXPECT_EQ(clients[1]->ask("unmanage 5"), "0");
    EXPECT_EQ(late->ask("manage 1 1"), "0");
    EXPECT_EQ(late->ask("manage 2 1"), "1");
}

TEST_F(ModelManagers, BuildsOfTheLargestSizeLeaveNothing) {
    start();
    // Sparse: nobody has written to them, and what is no model is refused.
    const uint64_t part = client::kMostBuildBytes / 4;
    std::vector<std::unique_ptr<SharedRegion>> regions;
    std::vector<ModelBuffer> sources;
    for (int i = 0; i < 4; ++i) {
        regions.push_back(std::make_unique<SharedRegion>("source", part));
        sources.push_back(bufferOf(*regions.back(), part));
    }
    const SharedRegion output("output", 4096);
    const ModelBuffer target = bufferOf(output, output.size());
    EXPECT_EQ(build(sources, target), 1) << "without a session";
    ManagerSession session(service, 1, "", {});
    EXPECT_EQ(build(sources, target), 1) << "zeros are no model";

    std::vector<ModelBuffer> tooMuch = sources;
    const SharedRegion one("source", 1);
    tooMuch.push_back(bufferOf(one, 1));
    EXPECT_EQ(build(tooMuch, target), 1);
    EXPECT_TRUE(host().log().await("input model size [209715201] exceed limit: [209715200]"));
    EXPECT_EQ(build(sources, bufferOf(output, client::kMostBuildBytes + 1)), 1);
    EXPECT_TRUE(host().log().await("output model size [209715201] exceed limit: [209715200]"));
    EXPECT_EQ(answers, 4);
}

TEST_F(ModelManagers, WhatClientsClaimIsNotBelieved) {
    start();
    const SharedRegion region("model", 4096);
    ManagerSession session(service, 1, "", {});
    for (const uint64_t size : {uint64_t{1} << 20, uint64_t{1} << 40, UINT64_MAX}) {
        SCOPED_TRACE(size);
        const ModelBuffer claimed = bufferOf(region, size);
        EXPECT_EQ(service->Init(2, "", "", {claimed}).withDefault(0), 1);
        EXPECT_TRUE(service->UnInit(2).isOk()) << "a session whose models are refused stays";
        EXPECT_NE(service->CheckModelCompatibility(1, claimed).withDefault(0), 0);
        EXPECT_NE(build({claimed}, bufferOf(region, 4096)), 0);
        EXPECT_NE(build({bufferOf(region, 4096)}, claimed), 0);
    }
    EXPECT_NE(build({}, {}), 0);
    EXPECT_NE(build(std::vector<ModelBuffer>(4000), bufferOf(region, 4096)), 0);
    EXPECT_NE(service->Init(2, "", "", std::vector<ModelBuffer>(4000)).withDefault(0), 0);
    EXPECT_TRUE(service->UnInit(2).isOk());
    // A call without a place for its answers fails on this side.
    EXPECT_FALSE(service->BuildModel(1, "", 0, {}, {}, nullptr).isOk());
    int32_t result = 0;
    size_t dimensions = 1;
    EXPECT_TRUE(service->GetModelIOTensorDim(
                               1, std::string(5000, 'x'),
                               [&](const hidl_vec<TensorDimension>& inputs,
                                   const hidl_vec<TensorDimension>& outputs, int32_t status) {
                                   result = status;
                                   dimensions = inputs.size() + outputs.size();
                               })
                        .isOk());
    EXPECT_NE(result, 0);
    EXPECT_EQ(dimensions, 0U);
}

}  // namespace

}  // namespace orva::test
