/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIServiceConnectManager.h>

#include "common/ServiceId.h"
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using Sessions = ServiceTest;

const std::string kInit = "I Init: " + kName + " Init\n";
const std::string kOpened = kAdmitted + kMade + kInitialised + "- UpdateServiceTime 5\n";
const std::string kRemove = "I RemoveService: " + kName + " RemoveService PID:5";
const std::string kRemoved = kRemove + "\n" + kGone + kRemove + " Complete\n";

std::string NotThere(const std::string& id) {
    return "E RemoveService: RemoveService service " + id + " is not create\n";
}

TEST_F(Sessions, InitReadsConfigAndModelsInOrder) {
    Region first(4096), third(4096);
    first.Write<uint8_t>({1, 2, 3});
    third.Write<uint8_t>({4, 5});
    hidl_vec<ModelBuffer> models = {ModelBuffer{}, Model("a", &first, 3), Model("b", nullptr, 100),
                                    Model("c", &third, 2), Model("d", nullptr, 0)};
    models[4].description = "not a description";
    EXPECT_EQ(kInit + kOpened + "= 0\n", Outcome(service_->Init(5, kType, kConfig, models)));
    EXPECT_EQ("b", script_.config.GetPara("a"));

    // What a model does not bring it has from the one before.
    std::string seen;
    for (const AIModelDescription& model : script_.models) {
        seen += model.name() + ":";
        for (size_t i = 0; i < model.data_size(); ++i) {
            seen += std::to_string(model.data()[i]);
        }
        seen += " ";
    }
    EXPECT_EQ(": a:123 b:123 c:45 c:45 ", seen);

    // A second time succeeds and changes nothing.
    script_.status = 9;
    EXPECT_EQ(kInit + kAdmitted + "E Init: Init service PID:5 is already create\n= 0\n",
              Outcome(Init(5)));
    script_.status = 0;
    EXPECT_EQ(0, Ask(5));
}

TEST_F(Sessions, InitAnswersWhatWentWrong) {
    Region page(4096), shorter(4095), empty(4096);
    empty.Get()->numFds = 0;
    const std::string type = kType,
                      full = "E Init: The number of service is more than limit, init failed.\n"
                             "= 1 client_limit\n",
                      none = kAdmitted + "E Init: create AIService type " + type +
                             " error\n= 1 unknown_type\n",
                      unmapped = kAdmitted + kMade + "E Init: mmap fail\n= 1 model_region\n",
                      failed = kAdmitted + kMade + kInitialised + "E Init: Service init failed\n" +
                               kUndone + "= 77 framework_init\n";
    const struct {
        ::orva::test::Handle* region;
        uint64_t size;
        std::string outcome;
        bool opened;  // The client must end what is left before it can try again.
    } cases[] = {
            {&page, 1, full, false},
            {&page, 1, none, false},
            {&shorter, 4096, unmapped, true},
            {&empty, 4096, unmapped, true},
            {&page, 1ULL << 63, unmapped, true},
            {&page, 1, failed, kUndone.empty()},
    };
    for (const auto& each : cases) {
        reference::SetClientLimit(each.outcome == full ? 0 : 512);
        script_.makesNone = each.outcome == none;
        script_.status = each.outcome == failed ? 77 : 0;
        // Borrowed, as in a call from another process.
        ModelBuffer both[2] = {Model("a", &page, 4096), {}};
        both[1].modelHandle = each.region->Get();
        both[1].size = each.size;
        hidl_vec<ModelBuffer> models;
        models.setToExternal(both, 2);
        EXPECT_EQ(kInit + each.outcome, Outcome(service_->Init(5, kType, "", models)));
        script_.status = 0;
        EXPECT_EQ(each.opened ? 0 : 2, Ask(5));
        service_->UnInit(5);
        Outcome(0);  // forgets what that was refused
    }
}

TEST_F(Sessions, InitAtTheLimitEvictsATimedOutClient) {
    const sp<FakeListener> listener = Listen();
    reference::SetIdleTimeout(std::chrono::nanoseconds(0));
    reference::SetClientLimit(1);
    EXPECT_EQ(0, Init(6));
    const std::string evicting = kInit + kRemoved + kAdmitted + kMade;
    EXPECT_EQ(evicting, Story().substr(0, evicting.size()));
    EXPECT_EQ(2, Ask(5));
    EXPECT_EQ(1, listener->getStrongCount());

    // Also when the session that is opened is there already, or when it is the one to go.
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(0, Ask(6));
    EXPECT_EQ(3, script_.made);
    reference::SetClientLimit(2);
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(2, Ask(6));

    // A client of the other service is only reported.
    auto* const connections = AIServiceConnectManager::GetInstance();
    service_->UnInit(5);
    reference::SetClientLimit(1);
    connections->UpdateServiceTime("1:1");
    Story();
    EXPECT_EQ(0, Init(7));
    EXPECT_NE(std::string::npos, Story().find(NotThere("1:1")));
    connections->RemoveServiceTime("1:1");
}

TEST_F(Sessions, UnInitEndsOne) {
    const sp<FakeListener> listener = Listen();
    // A dead client's answers must not matter.
    listener->transport = android::DEAD_OBJECT;
    const std::string called = "I UnInit: " + kName + " UnInit\n";
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(called + kRemoved, Story());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());

    // Where there is none, a listener stays.
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    Story();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(called + kRemove + "\n" + kNothingGone + NotThere("PID:5"), Story());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
}

TEST(ServiceId, NegatedNumbersAlwaysHaveAMeaning) {
    EXPECT_EQ(INT32_MAX, ListenerClientId(-INT32_MAX));
    EXPECT_EQ(INT32_MIN, ListenerClientId(INT32_MIN));
    EXPECT_EQ(std::to_string(getpid()) + ":-2147483648", MakeServiceId(INT32_MIN));
}

// What is under way when its session ends must not leave the client counted for good.
TEST_F(Sessions, EndForTheConnectionManagerTooAmidACall) {
    for (int32_t (Sessions::*const call)(int32_t) : {&Sessions::Init, &Sessions::Ask}) {
        service_->UnInit(5);
        if (call != &Sessions::Init) {
            ASSERT_EQ(0, Init(5));
        }
        beforeUpdate = [&] { service_->UnInit(5); };
        (this->*call)(5);
        EXPECT_NE(std::string::npos,
                  Story().find("- UpdateServiceTime 5\nS RemoveServiceTime 5\n"));
        EXPECT_EQ(0U, reference::ClientCount());
    }
}

TEST_F(Sessions, EndWithTheirClient) {
    // Death recipients know the process's own service.
    service_ = Service::GetInstance();
    const sp<FakeListener> listener = Listen();
    listener->recipient->serviceDied(0, nullptr);
    std::string told = Story();
    EXPECT_EQ("I serviceDied: AIClient PID:5 is inactive\n", told.substr(0, told.find('\n') + 1));
    EXPECT_NE(std::string::npos, told.find(kRemove + " Complete\n"));
    EXPECT_EQ(2, Ask(5));
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());
}

}  // namespace
}  // namespace orva::hidl::test
