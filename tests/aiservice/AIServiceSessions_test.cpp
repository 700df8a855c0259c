/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <fcntl.h>

#include <climits>

#include "aiservice/Fakes.h"
#include "common/ServiceId.h"
#include "support/Seam.h"

namespace orva::hidl::test {

const char kTag[] = "AIServiceHIDL";

namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using ::orva::test::Call;
using ::orva::test::CallCount;
using ::orva::test::Fault;
using ::orva::test::Region;

using AIServiceSessions = AIServiceTest;

std::string Removal(int32_t client) {
    return "AIServiceHIDL RemoveService " + IdOf(client);
}

TEST_F(AIServiceSessions, InitOpensASession) {
    constexpr char text[] = "{\"a\":\"b\"}\0never read";
    const hidl_string config(text, sizeof(text) - 1);
    EXPECT_EQ(0, service_->Init(5, "fake", config, {}));
    EXPECT_EQ((Entries{"- CheckServiceNum", "S CreateNNNode", "S CreateIdleTimer", "- node Init",
                       "- UpdateServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{Info("Init", "AIServiceHIDL Init")}), log_.Take());
    EXPECT_EQ("b", node_->config.GetPara("a"));
    EXPECT_TRUE(node_->models.empty());
}

TEST_F(AIServiceSessions, SecondInitSucceedsAndChangesNothing) {
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    EXPECT_EQ(0, service_->Init(5, "no such type", "x", {}));
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ((Lines{Info("Init", "AIServiceHIDL Init"),
                     Error("Init", "Init service " + IdOf(5) + " is already create")}),
              log_.Take());
    // It is still the first node.
    EXPECT_EQ(0, service_->Process(5, "", {}, {}, 17));
    EXPECT_EQ(17, node_->param);
}

TEST_F(AIServiceSessions, InitReportsWhyThereIsNoSession) {
    EXPECT_EQ(1, service_->Init(5, "no such type", "", {}));
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ(Error("Init", "create AIService type no such type error"),
              log_.Take(ANDROID_LOG_ERROR).back());

    node_->initStatus = 77;
    EXPECT_EQ(77, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum", "S CreateNNNode", "S CreateIdleTimer", "- node Init",
                       "S RemoveServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{Error("Init", "Service init failed")}), log_.Take(ANDROID_LOG_ERROR));

    admission.room = false;
    EXPECT_EQ(1, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum", "- GetTimeoutServiceId"}), journal_.Take());
    EXPECT_EQ((Lines{Error("Init", "The number of service is more than limit, init failed.")}),
              log_.Take(ANDROID_LOG_ERROR));

    EXPECT_EQ(2, service_->Process(5, "", {}, {}, 0));
}

TEST_F(AIServiceSessions, InitAtTheLimitEvictsATimedOutClient) {
    ASSERT_EQ(0, Init(6));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-6, listener));
    journal_.Take();
    log_.Take();

    admission = {false, IdOf(6)};
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(
            (Entries{"- CheckServiceNum", "- GetTimeoutServiceId", "S RemoveServiceTime " + IdOf(6),
                     "L listener unlinkToDeath", "S CreateNNNode", "S CreateIdleTimer",
                     "- node Init", "- UpdateServiceTime " + IdOf(5)}),
            journal_.Take());
    EXPECT_EQ((Lines{Info("Init", "AIServiceHIDL Init"), Info("RemoveService", Removal(6)),
                     Info("RemoveService", Removal(6) + " Complete")}),
              log_.Take());
    EXPECT_EQ(2, service_->Process(6, "", {}, {}, 0));
    EXPECT_EQ(1, listener->getStrongCount());

    // Also when the session that is opened is there already, or when it is the one to go.
    ASSERT_EQ(0, (admission = {true, ""}, Init(6)));
    admission = {false, IdOf(6)};
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(2, service_->Process(6, "", {}, {}, 0));
    admission = {false, IdOf(5)};
    journal_.Take();
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ("- UpdateServiceTime " + IdOf(5), journal_.Take().back());

    // A client of the other service is only reported.
    admission = {false, "1:1"};
    log_.Take();
    EXPECT_EQ(0, Init(7));
    EXPECT_EQ((Lines{Error("RemoveService", "RemoveService service 1:1 is not create")}),
              log_.Take(ANDROID_LOG_ERROR));
}

TEST_F(AIServiceSessions, UnInitEndsASession) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    // A dead client's answers must not matter.
    listener->transport = android::DEAD_OBJECT;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    const auto recipient = listener->recipient;
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ((Entries{"S RemoveServiceTime " + IdOf(5), "L listener unlinkToDeath"}),
              journal_.Take());
    EXPECT_EQ((Lines{Info("UnInit", "AIServiceHIDL UnInit"), Info("RemoveService", Removal(5)),
                     Info("RemoveService", Removal(5) + " Complete")}),
              log_.Take());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());

    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ((Entries{"S RemoveServiceTime " + IdOf(5)}), journal_.Take());
    EXPECT_EQ(
            (Lines{Info("UnInit", "AIServiceHIDL UnInit"), Info("RemoveService", Removal(5)),
                   Error("RemoveService", "RemoveService service " + IdOf(5) + " is not create")}),
            log_.Take());
}

TEST_F(AIServiceSessions, ProcessesDoNotShareClientNumbers) {
    const auto nodes = {std::make_shared<FakeNode>(), std::make_shared<FakeNode>()};
    for (const auto& node : nodes) {
        callerPid += 100;
        node_ = node;
        EXPECT_EQ(0, Init(1));
        EXPECT_EQ("- UpdateServiceTime " + std::to_string(callerPid) + ":1",
                  journal_.Take().back());
    }
    EXPECT_EQ(0, service_->Process(1, "", {}, {}, 8));
    service_->UnInit(1);
    callerPid = 100;
    EXPECT_EQ(0, service_->Process(1, "", {}, {}, 9));
    EXPECT_EQ(9, (*nodes.begin())->param);
    EXPECT_EQ(8, (*(nodes.end() - 1))->param);
    service_->UnInit(1);
    callerPid = 0;
}

TEST_F(AIServiceSessions, SlowInitHoldsUpNobody) {
    const auto slow = node_;
    slow->duringInit = [&] {
        node_ = std::make_shared<FakeNode>();
        EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(0, Init(6)); }));
        // The session itself is there already.
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(0, service_->SetListener(5, nullptr));
            EXPECT_EQ(0, service_->Process(5, "", {}, {}, 0));
            EXPECT_EQ(0, Init(5));
            service_->UnInit(6);
        }));
    };
    EXPECT_EQ(0, Init(5));
}

TEST_F(AIServiceSessions, DeadClientLosesItsSession) {
    // Death recipients know the process's own service.
    const sp<AIServiceHIDL> service = AIServiceHIDL::GetInstance();
    ASSERT_EQ(0, service->Init(5, "fake", "", {}));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->SetListener(-5, listener));
    const auto recipient = listener->recipient;
    log_.Take();
    recipient->serviceDied(0, nullptr);
    EXPECT_EQ((Lines{Info("serviceDied", "AIClient " + IdOf(5) + " is inactive"),
                     Info("RemoveService", Removal(5)),
                     Info("RemoveService", Removal(5) + " Complete")}),
              log_.Take());
    EXPECT_EQ(2, service->Process(5, "", {}, {}, 0));
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());
}

TEST_F(AIServiceSessions, ReleasingTheServiceDoesNotEndIt) {
    { const sp<IAIService_hidl> reference = AIServiceHIDL::GetInstance(); }
    EXPECT_EQ(2, AIServiceHIDL::GetInstance()->Process(5, "", {}, {}, 0));
}

TEST(ServiceId, NegatedNumbersAlwaysHaveAMeaning) {
    EXPECT_EQ(5, ListenerClientId(-5));
    EXPECT_EQ(INT32_MAX, ListenerClientId(-INT32_MAX));
    EXPECT_EQ(INT32_MIN, ListenerClientId(INT32_MIN));
    EXPECT_EQ(std::to_string(getpid()) + ":-2147483648", MakeServiceId(INT32_MIN));
}

using AIServiceModels = AIServiceTest;

TEST_F(AIServiceModels, AreReadInOrder) {
    Region first(4096), third(4096);
    first.Write<uint8_t>({1, 2, 3});
    third.Write<uint8_t>({4, 5});
    hidl_vec<ModelBuffer> models;
    models.resize(4);
    models[0] = Model("a", &first, 3);
    models[1] = Model("b", nullptr, 100);
    models[2] = Model("c", &third, 2);
    models[3] = Model("d", nullptr, 0);
    models[3].description = "not a description";
    const size_t mapped = CallCount(Call::Mmap), unmapped = CallCount(Call::Munmap);
    EXPECT_EQ(0, service_->Init(5, "fake", "", models));
    EXPECT_EQ(mapped + 2, CallCount(Call::Mmap));
    EXPECT_EQ(unmapped + 2, CallCount(Call::Munmap));

    // What a model does not bring it has from the one before.
    std::vector<std::string> seen;
    for (const AIModelDescription& model : node_->models) {
        seen.push_back(model.name() + ":");
        for (size_t i = 0; i < model.data_size(); ++i) {
            seen.back() += std::to_string(model.data()[i]);
        }
    }
    EXPECT_EQ((Entries{"a:123", "b:123", "c:45", "c:45"}), seen);
    EXPECT_EQ(1U, log_.Take().size());
}

TEST_F(AIServiceModels, NoRegionWithoutAName) {
    hidl_vec<ModelBuffer> models;
    models.resize(1);
    EXPECT_EQ(0, service_->Init(5, "fake", "", models));
    ASSERT_EQ(1U, node_->models.size());
    EXPECT_EQ(nullptr, node_->models[0].data());
}

TEST_F(AIServiceModels, UnmappableRegionLeavesAnUninitialisedSession) {
    Region good(4096), shorter(4095), empty(4096), negative(4096);
    empty.Get()->numFds = 0;
    ::orva::test::Handle closed((UniqueFd())), folder(UniqueFd(open("/", O_DIRECTORY | O_CLOEXEC)));
    const struct {
        const char* what;
        ::orva::test::Handle* handle;
        uint64_t size;
    } cases[] = {
            {"size 0", &good, 0},          {"2^63", &good, 1ULL << 63},
            {"too short", &shorter, 4096}, {"no descriptor", &empty, 4096},
            {"closed", &closed, 4096},     {"directory", &folder, 4096},
            {"mmap fails", nullptr, 4096},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        ModelBuffer bad = Model("bad", nullptr, each.size);
        // Borrowed, as in a call from another process.
        bad.modelHandle = (each.handle != nullptr ? each.handle : &good)->Get();
        ModelBuffer both[] = {Model("good", nullptr, 0), ModelBuffer{}};
        both[0].modelHandle = good.Get();
        both[0].size = 4096;
        both[1].modelHandle = bad.modelHandle.getNativeHandle();
        both[1].size = bad.size;
        hidl_vec<ModelBuffer> models;
        models.setToExternal(both, 2);

        journal_.Take();
        log_.Take();
        {
            const Fault fault(each.handle != nullptr ? Call::CopyMemory : Call::Mmap, 2);
            EXPECT_EQ(1, service_->Init(5, "fake", "", models));
        }
        EXPECT_EQ((Entries{"- CheckServiceNum", "S CreateNNNode", "S CreateIdleTimer"}),
                  journal_.Take());
        EXPECT_EQ((Lines{Info("Init", "AIServiceHIDL Init"), Error("Init", "mmap fail")}),
                  log_.Take());
        EXPECT_EQ(0, service_->SetListener(5, nullptr));
        service_->UnInit(5);
    }
}

}  // namespace
}  // namespace orva::hidl::test
