/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>

#include "modelmanager/Fakes.h"
#include "support/Seam.h"

namespace orva::hidl::test {

const char kTag[] = "AIModelManagerServiceHIDL";

namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using ::orva::test::Call;
using ::orva::test::CallCount;
using ::orva::test::Region;

using ModelManagerSessions = ModelManagerTest;

std::string Removal(int32_t client) {
    return "ModelManagerServiceHIDL RemoveService " + IdOf(client);
}

const LogLine kInit = Info("Init", "ModelManagerServiceHIDL Init");
const LogLine kCreate = Info("Init", "create AIService type type");

TEST_F(ModelManagerSessions, InitOpensASessionAndHoldsItsLockAllTheWay) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    hidl_vec<ModelBuffer> models;
    models.resize(2);
    models[0] = Model("a", &region, 3);
    models[1] = Model("b", nullptr, 100);
    const size_t unmapped = CallCount(Call::Munmap);
    EXPECT_EQ(0, service_->Init(5, "type", "{\"a\":\"b\"}", models));
    EXPECT_EQ(unmapped + 1, CallCount(Call::Munmap));
    EXPECT_EQ((Entries{"- CheckServiceNum", "S createModelManager", "S manager Init",
                       "- UpdateServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{kInit, kCreate}), log_.Take());
    EXPECT_EQ("b", script_.config.GetPara("a"));
    ASSERT_EQ(2U, script_.models.size());
    EXPECT_EQ("b", script_.models[1].name());
    ASSERT_EQ(3U, script_.models[0].data_size());
    EXPECT_EQ(3, script_.models[0].data()[2]);
    script_.models.clear();
}

TEST_F(ModelManagerSessions, SecondInitSucceedsAndChangesNothing) {
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    script_.initStatus = 9;
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ((Lines{kInit, kCreate,
                     Error("Init", "Init service " + IdOf(5) + " is already create")}),
              log_.Take());
}

TEST_F(ModelManagerSessions, InitWithoutAModelManagerLeavesNoSession) {
    managers_ = false;
    EXPECT_EQ(1, Init(5));
    EXPECT_EQ((Lines{Error("Init", "create AIService type type error")}), Errors());
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ(2, service_->CheckModelValid(5));
}

TEST_F(ModelManagerSessions, FailedInitLeavesItsSession) {
    script_.initStatus = 77;
    EXPECT_EQ(77, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum", "S createModelManager", "S manager Init"}),
              journal_.Take());
    EXPECT_EQ((Lines{Error("Init", "Service init failed")}), Errors());
    // The client must end it before it can try again.
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ((Lines{Error("Init", "Init service " + IdOf(5) + " is already create")}), Errors());
    EXPECT_EQ(0, service_->CheckModelValid(5));

    Region shorter(4095);
    hidl_vec<ModelBuffer> models;
    models.resize(1);
    models[0] = Model("a", &shorter, 4096);
    journal_.Take();
    EXPECT_EQ(1, service_->Init(6, "type", "", models));
    EXPECT_EQ((Lines{Error("Init", "mmap fail")}), Errors());
    EXPECT_EQ((Entries{"- CheckServiceNum", "S createModelManager"}), journal_.Take());
    EXPECT_EQ(0, service_->CheckModelValid(6));
}

TEST_F(ModelManagerSessions, InitAtTheClientLimitEvictsATimedOutClient) {
    admission = {false, ""};
    EXPECT_EQ(1, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum", "- GetTimeoutServiceId"}), journal_.Take());
    EXPECT_EQ((Lines{Error("Init", "The number of service is more than limit, init failed.")}),
              Errors());

    admission = Admission();
    ASSERT_EQ(0, Init(6));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-6, listener));
    journal_.Take();
    log_.Take();
    admission = {false, IdOf(6)};
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum", "- GetTimeoutServiceId", "- manager gone",
                       "L listener unlinkToDeath", "L RemoveServiceTime " + IdOf(6),
                       "S createModelManager", "S manager Init", "- UpdateServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{kInit, Info("RemoveService", Removal(6)),
                     Info("RemoveService", Removal(6) + " Complete"), kCreate}),
              log_.Take());
    EXPECT_EQ(1, listener->getStrongCount());

    // A client of the other service is only reported.
    admission = {false, "1:1"};
    EXPECT_EQ(0, Init(7));
    EXPECT_EQ((Lines{Error("RemoveService", "RemoveService service 1:1 is not create")}), Errors());
}

TEST_F(ModelManagerSessions, TwoHundredAndOneFit) {
    callerPid = 1000;
    for (int32_t client = 0; client < 201; ++client) {
        ASSERT_EQ(0, Init(client));
    }
    callerPid = 2000;
    journal_.Take();
    log_.Take();
    const Lines refusal = {kInit, Info("Init", "AIModelManagerImpl count more than 200")};
    EXPECT_EQ(1, Init(0));
    EXPECT_EQ(refusal, log_.Take());
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    // Who has a session already is told the same.
    callerPid = 1000;
    EXPECT_EQ(1, Init(0));
    EXPECT_EQ(refusal, log_.Take());

    service_->UnInit(200);
    callerPid = 2000;
    EXPECT_EQ(0, Init(0));
    EXPECT_EQ(1, Init(1));
    service_->UnInit(0);
    callerPid = 1000;
    for (int32_t client = 0; client < 200; ++client) {
        service_->UnInit(client);
    }
    callerPid = 0;
}

TEST_F(ModelManagerSessions, UnInitEndsASession) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    // A dead client's answers must not matter.
    listener->transport = android::DEAD_OBJECT;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    const auto recipient = listener->recipient;
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ((Entries{"- manager gone", "L listener unlinkToDeath",
                       "L RemoveServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{Info("UnInit", "ModelManagerServiceHIDL UnInit"),
                     Info("RemoveService", Removal(5)),
                     Info("RemoveService", Removal(5) + " Complete")}),
              log_.Take());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());

    // Of a session that is not there even the time is left alone.
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_TRUE(journal_.Take().empty());
    EXPECT_EQ(
            (Lines{Info("UnInit", "ModelManagerServiceHIDL UnInit"),
                   Info("RemoveService", Removal(5)),
                   Error("RemoveService", "RemoveService service " + IdOf(5) + " is not create")}),
            log_.Take());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

// What is under way when its session ends must not leave the client counted for good.
TEST_F(ModelManagerSessions, EndsForTheConnectionManagerTooAmidACall) {
    const std::function<void()> calls[] = {
            [&] { service_->Process(5, "", {}, {}, 0); },
            [&] { service_->SetInputsAndOutputs(5, "", {}, {}); },
            [&] { service_->StartCompute(5, ""); },
            [&] { service_->SetListener(5, nullptr); },
            [&] { service_->CheckModelValid(5); },
            [&] { service_->BuildModel(5, "", 0, {}, ModelBuffer{}, [](uint32_t, int32_t) {}); },
    };
    for (const auto& call : calls) {
        ASSERT_EQ(0, Init(5));
        admission.beforeUpdate = [&] { service_->UnInit(5); };
        journal_.Take();
        call();
        Entries entries = journal_.Take();
        const auto update =
                std::find(entries.begin(), entries.end(), "- UpdateServiceTime " + IdOf(5));
        ASSERT_NE(entries.end(), update);
        EXPECT_EQ("S RemoveServiceTime " + IdOf(5), *(update + 1));
    }
    admission.beforeUpdate = [&] { service_->UnInit(5); };
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ("S RemoveServiceTime " + IdOf(5), journal_.Take().back());
}

TEST_F(ModelManagerSessions, DeadClientLosesItsSession) {
    // Death recipients know the process's own service.
    const sp<ModelManagerServiceHIDL> service = ModelManagerServiceHIDL::GetInstance();
    ASSERT_EQ(0, service->Init(5, "type", "", {}));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->SetListener(-5, listener));
    const auto recipient = listener->recipient;
    log_.Take();
    recipient->serviceDied(0, nullptr);
    EXPECT_EQ((Lines{Info("serviceDied", "AIClient " + IdOf(5) + " is inactive"),
                     Info("RemoveService", Removal(5)),
                     Info("RemoveService", Removal(5) + " Complete")}),
              log_.Take());
    EXPECT_EQ(2, service->CheckModelValid(5));
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());
}

TEST_F(ModelManagerSessions, ServiceTakesEverythingWithIt) {
    sp<ModelManagerServiceHIDL> service = new ModelManagerServiceHIDL;
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->Init(5, "type", "", {}));
    ASSERT_EQ(0, service->SetListener(-5, listener));
    service.clear();
    EXPECT_EQ(0U, script_.alive);
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());
}

}  // namespace
}  // namespace orva::hidl::test
