/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "ServiceUnderTest.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"
#include "support/services/ServiceFakes.h"

// What both services are tested by. The files *_test.cpp of this folder are part of either test
// program, whose own ServiceUnderTest.h says which service is meant and how it differs.
namespace orva::hidl::test {

using ::orva::test::Call;
using ::orva::test::CallCount;
using ::orva::test::Fault;
using ::orva::test::Region;
using Tensors = android::hardware::hidl_vec<AITensorHandle>;
using FakeListener = FakeListenerOf<ClientInterface>;

// A service of its own, whose framework objects follow script_.
class ServiceTest : public ::orva::test::ResourceTest {
protected:
    void SetUp() override {
        ResourceTest::SetUp();
        log_.Take();
        SetCreator([this] { return script_.makesNone ? nullptr : new FakeFramework(script_); });
    }

    void TearDown() override {
        for (int32_t client = 0; client < 10; ++client) {
            service_->UnInit(client);
        }
        EXPECT_EQ(0, script_.alive);
        SetCreator(nullptr);
        service_.clear();
        script_ = Script();
        ResourceTest::TearDown();
    }

    int32_t Init(int32_t client) { return service_->Init(client, kType, "", {}); }
    // Status 2: there is no session.
    int32_t Ask(int32_t client) { return service_->Process(client, "", {}, {}, 0); }
    Lines Errors() { return TakeErrors(log_); }

    Script script_;
    android::sp<Service> service_ = new Service;
    LogCapture log_;
    Journal journal_{service_};
};

}  // namespace orva::hidl::test
