/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/mman.h>

#include <future>
#include <nlohmann/json.hpp>
#include <thread>

#include "ServiceUnderTest.h"
#include "support/Eventually.h"
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

    // Sessions that a test leaves open end with their service.
    void TearDown() override {
        service_.clear();
        EXPECT_EQ(0, script_.alive);
        SetCreator(nullptr);
        script_ = Script();
        ResourceTest::TearDown();
    }

    int32_t Init(int32_t client) { return service_->Init(client, kType, "", {}); }
    // Status 2: there is no session.
    int32_t Ask(int32_t client) { return service_->Process(client, "", {}, {}, 0); }

    // The service's error lines, without those of the layers below it.
    Lines Errors() {
        Lines errors;
        for (LogLine& line : log_.Take(ANDROID_LOG_ERROR)) {
            if (line.tag == kTag) {
                errors.push_back(std::move(line));
            }
        }
        return errors;
    }

    // What debug() writes.
    std::string TextDump(
            const android::hardware::hidl_vec<android::hardware::hidl_string>& options = {}) {
        ::orva::test::Handle file(UniqueFd(memfd_create("dump", MFD_CLOEXEC)));
        EXPECT_TRUE(service_->debug(file.Get(), options).isOk());
        const std::vector<char> text = ::orva::test::ReadRegion<char>(file.Fd(), 1'000'000);
        return {text.begin(), text.end()};
    }
    nlohmann::json JsonDump(const std::string& client = "") {
        return nlohmann::json::parse(client.empty() ? TextDump({"--json"})
                                                    : TextDump({"--json", "--client", client}));
    }
    // The counts that have grown since the last call, as "reason" or "reason 2".
    std::string NewRefusals() {
        const nlohmann::json now = JsonDump()["refusals"];
        std::string grown;
        for (const auto& [reason, count] : now.items()) {
            const int growth = count.get<int>() - refusals_.value(reason, 0);
            grown += growth == 0 ? "" : grown.empty() ? reason : ", " + reason;
            grown += growth > 1 ? " " + std::to_string(growth) : "";
        }
        refusals_ = now;
        return grown;
    }

    // Whether another thread gets through an operation while this one waits for it; that fails only
    // when the operation needs a lock that this thread holds.
    static bool AnotherThreadCan(const std::function<void()>& operation) {
        std::future<void> done = std::async(std::launch::async, operation);
        if (done.wait_for(::orva::test::kWatchdog) != std::future_status::ready) {
            ADD_FAILURE() << "a lock is held";
            abort();  // the thread cannot be ended
        }
        return true;
    }

    Script script_;
    android::sp<Service> service_ = new Service;
    LogCapture log_;
    Journal journal_{service_};

private:
    nlohmann::json refusals_ = JsonDump()["refusals"];
};

}  // namespace orva::hidl::test
