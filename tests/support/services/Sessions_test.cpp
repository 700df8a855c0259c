/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;
using Sessions = ServiceTest;

const std::string kRemoval = kName + " RemoveService " + kId;
const Lines kRemovalLines = {Info("RemoveService", kRemoval),
                             Info("RemoveService", kRemoval + " Complete")};

Lines NotThere(const std::string& id) {
    return {Error("RemoveService", "RemoveService service " + id + " is not create")};
}

// The first entries of an Init for client 5.
Entries OpeningUpTo(size_t count) {
    return {kOpening.begin(), kOpening.begin() + static_cast<ptrdiff_t>(count)};
}

TEST_F(Sessions, InitReadsConfigAndModelsInOrder) {
    Region first(4096), third(4096);
    first.Write<uint8_t>({1, 2, 3});
    third.Write<uint8_t>({4, 5});
    hidl_vec<ModelBuffer> models = {ModelBuffer{}, Model("a", &first, 3), Model("b", nullptr, 100),
                                    Model("c", &third, 2), Model("d", nullptr, 0)};
    models[4].description = "not a description";
    const size_t mapped = CallCount(Call::Mmap), unmapped = CallCount(Call::Munmap);
    EXPECT_EQ(0, service_->Init(5, kType, "{\"a\":\"b\"}", models));
    EXPECT_EQ(mapped + 2, CallCount(Call::Mmap));
    EXPECT_EQ(unmapped + 2, CallCount(Call::Munmap));
    EXPECT_EQ(kOpening, journal_.Take());
    EXPECT_EQ(kOpeningLines, log_.Take());
    EXPECT_EQ("b", script_.config.GetPara("a"));

    // What a model does not bring it has from the one before.
    Entries seen;
    for (const AIModelDescription& model : script_.models) {
        seen.push_back(model.name() + ":");
        for (size_t i = 0; i < model.data_size(); ++i) {
            seen.back() += std::to_string(model.data()[i]);
        }
    }
    EXPECT_EQ((Entries{":", "a:123", "b:123", "c:45", "c:45"}), seen);
}

TEST_F(Sessions, SecondInitSucceedsAndChangesNothing) {
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    script_.initStatus = 9;
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ(kOpeningLines + Lines{Error("Init", "Init service " + kId + " is already create")},
              log_.Take());
    EXPECT_EQ(0, Ask(5));
    EXPECT_EQ(1, script_.asked);
}

TEST_F(Sessions, InitAnswersWhatWentWrong) {
    Region page(4096), shorter(4095), empty(4096);
    empty.Get()->numFds = 0;
    const Entries untilMapped = OpeningUpTo(kOpening.size() - 2);
    const std::string noPlace = "The number of service is more than limit, init failed.",
                      noneMade = std::string("create AIService type ") + kType + " error",
                      failed = "Service init failed";
    const Entries asked = {"- CheckServiceNum", "- GetTimeoutServiceId"},
                  undone = OpeningUpTo(kOpening.size() - 1) + kUndoing;
    const struct {
        const char* refusal;
        ::orva::test::Handle* region;
        uint64_t size;
        int32_t status;
        std::string error;
        Entries entries;
        bool opened;
    } cases[] = {
            {"client_limit", &page, 1, 1, noPlace, asked, false},
            {"unknown_type", &page, 1, 1, noneMade, {"- CheckServiceNum"}, false},
            // The client must end what is left before it can try again.
            {"model_region", &shorter, 4096, 1, "mmap fail", untilMapped, true},
            {"model_region", &empty, 4096, 1, "mmap fail", untilMapped, true},
            {"model_region", &page, 1ULL << 63, 1, "mmap fail", untilMapped, true},
            {"framework_init", &page, 1, 77, failed, undone, kUndoing.empty()},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.refusal) + " " + std::to_string(each.size));
        admission.room = each.error != noPlace;
        script_.makesNone = each.error == noneMade;
        script_.initStatus = each.error == failed ? each.status : 0;
        // Borrowed, as in a call from another process.
        ModelBuffer both[2] = {Model("a", &page, 4096), {}};
        both[1].modelHandle = each.region->Get();
        both[1].size = each.size;
        hidl_vec<ModelBuffer> models;
        models.setToExternal(both, 2);
        journal_.Take();
        log_.Take();
        EXPECT_EQ(each.status, service_->Init(5, kType, "", models));
        EXPECT_EQ(each.entries, journal_.Take());
        EXPECT_EQ((Lines{Error("Init", each.error)}), log_.Take(ANDROID_LOG_ERROR));
        EXPECT_EQ(each.refusal, NewRefusals());
        EXPECT_EQ(each.opened ? 0 : 2, Ask(5));
        service_->UnInit(5);
        NewRefusals();
    }
}

TEST_F(Sessions, InitAtTheLimitEvictsATimedOutClient) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    journal_.Take();
    log_.Take();
    admission = {false, kId};
    EXPECT_EQ(0, Init(6));
    const Entries evicting = Entries{"- CheckServiceNum", "- GetTimeoutServiceId"} + kEnding +
                             Entries{"S framework made"};
    Entries entries = journal_.Take();
    entries.resize(evicting.size());
    EXPECT_EQ(evicting, entries);
    EXPECT_EQ(Lines{kOpeningLines[0]} + kRemovalLines +
                      Lines(kOpeningLines.begin() + 1, kOpeningLines.end()),
              log_.Take());
    EXPECT_EQ(2, Ask(5));
    EXPECT_EQ(1, listener->getStrongCount());

    // Also when the session that is opened is there already, or when it is the one to go.
    admission = Admission();
    ASSERT_EQ(0, Init(5));
    admission = {false, kId};
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(2, Ask(5));
    admission = {false, kOtherId};
    EXPECT_EQ(0, Init(6));
    EXPECT_EQ(0, Ask(6));
    EXPECT_EQ(4, script_.asked);

    // A client of the other service is only reported.
    admission = {false, "1:1"};
    log_.Take();
    EXPECT_EQ(0, Init(7));
    EXPECT_EQ(NotThere("1:1"), log_.Take(ANDROID_LOG_ERROR));
}

TEST_F(Sessions, UnInitEndsOne) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    // A dead client's answers must not matter.
    listener->transport = android::DEAD_OBJECT;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    const Lines called = {Info("UnInit", kName + " UnInit")};
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(kEnding, journal_.Take());
    EXPECT_EQ(called + kRemovalLines, log_.Take());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());

    // Where there is none, a listener stays.
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(kEndingNothing, journal_.Take());
    EXPECT_EQ(called + Lines{kRemovalLines[0]} + NotThere(kId), log_.Take());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
}

// What is under way when its session ends must not leave the client counted for good.
TEST_F(Sessions, EndForTheConnectionManagerTooAmidACall) {
    std::vector<std::function<void()>> calls = SignsOfLife(*service_);
    calls.emplace_back([&] { Init(5); });
    for (size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        if (i + 1 < calls.size()) {
            ASSERT_EQ(0, Init(5));
        }
        admission.beforeUpdate = [&] { service_->UnInit(5); };
        journal_.Take();
        calls[i]();
        const Entries entries = journal_.Take();
        const auto update = std::find(entries.begin(), entries.end(), "- UpdateServiceTime 5");
        ASSERT_NE(entries.end(), update);
        EXPECT_EQ("S RemoveServiceTime 5", *(update + 1));
    }
}

TEST_F(Sessions, EndWithTheirClient) {
    // Death recipients know the process's own service.
    const sp<Service> service = Service::GetInstance();
    ASSERT_EQ(0, service->Init(5, kType, "", {}));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->SetListener(-5, listener));
    log_.Take();
    listener->recipient->serviceDied(0, nullptr);
    EXPECT_EQ((Lines{Info("serviceDied", "AIClient " + kId + " is inactive")}) + kRemovalLines,
              log_.Take());
    EXPECT_EQ(2, service->Process(5, "", {}, {}, 0));
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());
}

}  // namespace
}  // namespace orva::hidl::test
