/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/reference/Settings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <future>

#include "ServiceUnderTest.h"
#include "common/ServiceId.h"
#include "modelmanager/CallbackMutex.h"
#include "support/CallingProcess.h"
#include "support/LogCapture.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

// What both services are tested by. The files *_test.cpp of this folder are part of either test
// program, whose own ServiceUnderTest.h says which service is meant and how it differs.
namespace orva::hidl::test {

using ::orva::test::Call;
using ::orva::test::CallsFrom;
using ::orva::test::Fault;
using ::orva::test::IdleProcess;
using ::orva::test::Region;
using FakeListener = FakeListenerOf<ClientInterface>;

// A service of its own, whose framework objects follow script_. Most tests play client 5.
class ServiceTest : public ::orva::test::ResourceTest {
protected:
    void SetUp() override {
        ResourceTest::SetUp();
        heldLocks = [this] {
            return std::string(IsHeld(SessionLock(*service_)) ? "S" : "") +
                   (IsHeld(service_->listenerMutex) ? "L" : "");
        };
        SetCreator([this] { return script_.makesNone ? nullptr : new FakeFramework(script_); });
        Story();
    }

    // What the service keeps of a session.
    std::shared_ptr<SessionRecord> RecordOf(int32_t client) {
        return Sessions(*service_).at(MakeServiceId(client)).record;
    }

    // Sessions that a test leaves open end with their service, but still count as clients.
    void TearDown() override {
        for (int32_t client = 5; client <= 7; ++client) {
            service_->UnInit(client);
        }
        EXPECT_EQ(0U, reference::ClientCount());
        heldLocks = nullptr;
        service_.clear();
        EXPECT_EQ(0, script_.alive);
        SetCreator(nullptr);
        reference::SetClientLimit(512);
        reference::SetIdleTimeout(std::chrono::minutes(10));
        script_ = Script();
        ResourceTest::TearDown();
    }

    int32_t Init(int32_t client) { return service_->Init(client, kType, "", {}); }
    // Status 2: there is no session.
    int32_t Ask(int32_t client) { return service_->Process(client, "", {}, {}, 0); }
    // Opens client 5's session, with a listener all the way.
    sp<FakeListener> Listen() {
        const sp<FakeListener> listener = new FakeListener;
        EXPECT_EQ(0, Init(5));
        EXPECT_EQ(0, service_->SetListener(-5, listener));
        EXPECT_EQ(0, service_->SetListener(5, nullptr));
        Story();
        return listener;
    }

    // What has been logged and called since the last look, in its order, without what the framework
    // logs. Service ids are those of "PID".
    std::string Story() {
        const std::string pid = std::to_string(getpid()) + ":";
        std::string told;
        std::istringstream lines(log_.Story(kTag));
        for (std::string line; std::getline(lines, line);) {
            if (const size_t at = line.find(pid); at != std::string::npos) {
                line.replace(at, pid.size(), "PID:");
            }
            told += line.find(" ORVA ") == 1 ? "" : line + "\n";
        }
        return told;
    }
    // The story of a call, and its end: "= STATUS", and "refused" for each refusal kept meanwhile.
    std::string Outcome(int32_t status) {
        std::string told = Story() + "= " + std::to_string(status);
        for (; refusals_ < service_->activity_.Refusals(); ++refusals_) {
            told += " refused";
        }
        return told + "\n";
    }

    // What debug() writes.
    std::string Dump(const hidl_vec<android::hardware::hidl_string>& options = {}) {
        ::orva::test::Handle file(UniqueFd(memfd_create("dump", MFD_CLOEXEC)));
        EXPECT_TRUE(service_->debug(file.Get(), options).isOk());
        const std::vector<char> text = ::orva::test::ReadRegion<char>(file.Fd(), 1'000'000);
        return {text.begin(), text.end()};
    }

    // Waits for another thread to get through an operation: for ever, if that needs a lock which
    // this thread holds.
    static void InAnotherThread(const std::function<void()>& operation) {
        std::async(std::launch::async, operation).get();
    }

    Script script_;
    sp<Service> service_ = new Service;
    ::orva::test::LogCapture log_;

private:
    // Another thread cannot have what this one holds.
    static bool IsHeld(Mutex& lock) {
        return std::async(std::launch::async,
                          [&lock] {
                              const bool isFree = pthread_mutex_trylock(&lock.mutex_) == 0;
                              if (isFree) {
                                  pthread_mutex_unlock(&lock.mutex_);
                              }
                              return !isFree;
                          })
                .get();
    }
    static bool IsHeld(CallbackMutex& lock) { return IsHeld(lock.mutex_); }

    uint64_t refusals_ = 0;  // told of so far
};

}  // namespace orva::hidl::test
