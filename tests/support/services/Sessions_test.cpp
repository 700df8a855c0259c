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

std::string Removal(int32_t client) {
    return kName + " RemoveService " + IdOf(client);
}

Lines RemovalLines(int32_t client) {
    return {Info("RemoveService", Removal(client)),
            Info("RemoveService", Removal(client) + " Complete")};
}

Lines NotThere(const std::string& id) {
    return {Error("RemoveService", "RemoveService service " + id + " is not create")};
}

// The first entries of an Init for client 5.
Entries OpeningUpTo(size_t count) {
    Entries entries = Opening(5);
    entries.resize(count);
    return entries;
}

TEST_F(Sessions, InitOpensOne) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    hidl_vec<ModelBuffer> models;
    models.resize(2);
    models[0] = Model("a", &region, 3);
    models[1] = Model("b", nullptr, 100);
    EXPECT_EQ(0, service_->Init(5, kType, "{\"a\":\"b\"}", models));
    EXPECT_EQ(Opening(5), journal_.Take());
    EXPECT_EQ(kOpeningLines, log_.Take());
    EXPECT_EQ("b", script_.config.GetPara("a"));
    ASSERT_EQ(2U, script_.models.size());
    EXPECT_EQ("b", script_.models[1].name());
    ASSERT_EQ(3U, script_.models[0].data_size());
    EXPECT_EQ(3, script_.models[0].data()[2]);
}

TEST_F(Sessions, SecondInitSucceedsAndChangesNothing) {
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    script_.initStatus = 9;
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ((Entries{"- CheckServiceNum"}), journal_.Take());
    EXPECT_EQ(
            kOpeningLines + Lines{Error("Init", "Init service " + IdOf(5) + " is already create")},
            log_.Take());
    EXPECT_EQ(0, Ask(5));
    EXPECT_EQ(1, script_.asked);
}

TEST_F(Sessions, InitAnswersWhatWentWrong) {
    Region shorter(4095);
    const size_t complete = Opening(5).size();
    const struct {
        const char* what;
        std::function<void()> arrange;
        uint64_t modelSize;
        int32_t status;
        const char* error;
        Entries entries;
        bool opened;
    } cases[] = {
            {"no place",
             [] { admission.room = false; },
             1,
             1,
             "The number of service is more than limit, init failed.",
             {"- CheckServiceNum", "- GetTimeoutServiceId"},
             false},
            {"nothing made",
             [&] { script_.makesNone = true; },
             1,
             1,
             "create AIService type %s error",
             {"- CheckServiceNum"},
             false},
            // The client must end what is left before it can try again.
            {"model unmappable", [] {}, 4096, 1, "mmap fail", OpeningUpTo(complete - 2), true},
            {"framework fails", [&] { script_.initStatus = 77; }, 1, 77, "Service init failed",
             OpeningUpTo(complete - 1) + Undoing(5), Undoing(5).empty()},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        hidl_vec<ModelBuffer> models;
        models.resize(1);
        models[0] = Model("a", &shorter, each.modelSize);
        each.arrange();
        journal_.Take();
        log_.Take();
        EXPECT_EQ(each.status, service_->Init(5, kType, "", models));
        EXPECT_EQ(each.entries, journal_.Take());
        std::string error = each.error;
        if (const size_t type = error.find("%s"); type != std::string::npos) {
            error.replace(type, 2, kType);
        }
        EXPECT_EQ((Lines{Error("Init", error)}), log_.Take(ANDROID_LOG_ERROR));
        EXPECT_EQ(each.opened ? 0 : 2, Ask(5));
        service_->UnInit(5);
        admission = Admission();
        script_.makesNone = false;
    }
}

TEST_F(Sessions, InitAtTheLimitEvictsATimedOutClient) {
    ASSERT_EQ(0, Init(6));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-6, listener));
    journal_.Take();
    log_.Take();
    admission = {false, IdOf(6)};
    EXPECT_EQ(0, Init(5));
    const Entries opening = Opening(5);
    EXPECT_EQ((Entries{"- CheckServiceNum", "- GetTimeoutServiceId"}) + Ending(6) +
                      Entries(opening.begin() + 1, opening.end()),
              journal_.Take());
    EXPECT_EQ(Lines{kOpeningLines[0]} + RemovalLines(6) +
                      Lines(kOpeningLines.begin() + 1, kOpeningLines.end()),
              log_.Take());
    EXPECT_EQ(2, Ask(6));
    EXPECT_EQ(1, listener->getStrongCount());

    // Also when the session that is opened is there already, or when it is the one to go.
    admission = Admission();
    ASSERT_EQ(0, Init(6));
    admission = {false, IdOf(6)};
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(2, Ask(6));
    admission = {false, IdOf(5)};
    EXPECT_EQ(0, Init(5));
    EXPECT_EQ(0, Ask(5));
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
    const auto recipient = listener->recipient;
    const Lines called = {Info("UnInit", kName + " UnInit")};
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(Ending(5), journal_.Take());
    EXPECT_EQ(called + RemovalLines(5), log_.Take());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());

    // Where there is none, a listener stays.
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    journal_.Take();
    log_.Take();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(EndingNothing(5), journal_.Take());
    EXPECT_EQ(called + Lines{Info("RemoveService", Removal(5))} + NotThere(IdOf(5)), log_.Take());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

TEST_F(Sessions, ProcessesDoNotShareClientNumbers) {
    for (const int pid : {100, 200}) {
        callerPid = pid;
        EXPECT_EQ(0, Init(1));
        EXPECT_EQ("- UpdateServiceTime " + std::to_string(pid) + ":1", journal_.Take().back());
    }
    EXPECT_EQ(0, Ask(1));
    EXPECT_EQ(2, script_.asked);
    service_->UnInit(1);
    callerPid = 100;
    EXPECT_EQ(0, Ask(1));
    EXPECT_EQ(1, script_.asked);
    service_->UnInit(1);
    callerPid = 0;
}

// What is under way when its session ends must not leave the client counted for good.
TEST_F(Sessions, EndForTheConnectionManagerTooAmidACall) {
    std::vector<std::function<void()>> calls = SignsOfLife(*service_);
    calls.push_back([&] { Init(5); });
    for (size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        if (i + 1 < calls.size()) {
            ASSERT_EQ(0, Init(5));
        }
        admission.beforeUpdate = [&] { service_->UnInit(5); };
        journal_.Take();
        calls[i]();
        const Entries entries = journal_.Take();
        const auto update =
                std::find(entries.begin(), entries.end(), "- UpdateServiceTime " + IdOf(5));
        ASSERT_NE(entries.end(), update);
        EXPECT_EQ("S RemoveServiceTime " + IdOf(5), *(update + 1));
    }
}

TEST_F(Sessions, EndWithTheirClient) {
    // Death recipients know the process's own service.
    const sp<Service> service = Service::GetInstance();
    ASSERT_EQ(0, service->Init(5, kType, "", {}));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->SetListener(-5, listener));
    const auto recipient = listener->recipient;
    log_.Take();
    recipient->serviceDied(0, nullptr);
    EXPECT_EQ(
            (Lines{Info("serviceDied", "AIClient " + IdOf(5) + " is inactive")}) + RemovalLines(5),
            log_.Take());
    EXPECT_EQ(2, service->Process(5, "", {}, {}, 0));
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, recipient->getStrongCount());
}

TEST_F(Sessions, EndWithTheirService) {
    sp<Service> service = new Service;
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service->Init(5, kType, "", {}));
    ASSERT_EQ(0, service->SetListener(-5, listener));
    service.clear();
    EXPECT_EQ(0, script_.alive);
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());
    // The process's own outlives whoever lets go of it.
    { const sp<Service> reference = Service::GetInstance(); }
    EXPECT_EQ(2, Service::GetInstance()->Process(5, "", {}, {}, 0));
}

}  // namespace
}  // namespace orva::hidl::test
