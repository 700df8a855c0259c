/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;

// A tensor that has no serializer.
class ForeignTensor : public IAITensor {
public:
    bool Init(const AITensorDescription&) override { return true; }
    const char* GetTypeName() override { return "X"; }
    uint32_t GetSerializeSize() override { return 0; }
};

const Lines kNotFound = {
        Error("OnProcessDone", kName + " OnProcessDone not find the listener " + kId)};
const Lines kComplete = {Info("OnProcessDone", kResult + "Complete " + kId + " call the listener")};

class Listeners : public ServiceTest {
protected:
    Region first_{100}, second_{100};
};

TEST_F(Listeners, AreSetOrRefused) {
    const sp<FakeListener> listener = new FakeListener;
    listener->transport = android::DEAD_OBJECT;  // must not matter
    const auto error = [](const std::string& what) {
        return Lines{Error("SetListener", "SetListener service " + kId + what)};
    };
    // In this order. A client's own number is negated for its listener, and needs no session.
    const struct {
        const char* what;
        int32_t client;
        bool memory;
        int32_t frameworkStatus;
        int32_t status;
        Entries entries;
        Lines lines;
        const char* refusal;
    } cases[] = {
            {"no session", 5, true, 0, 2, {}, error(" is not create"), "no_session"},
            {"no recipient", -5, false, 0, 1, {}, kNoRecipient, "out_of_memory"},
            {"the client's", -5, true, 0, 0, kLinking, {}, ""},
            {"another", -5, true, 0, 1, {}, error(" is already set"), "listener_already_set"},
            {"session begins", 0, true, 0, 0, {}, {}, ""},
            {"no memory", 5, false, 0, 1, {}, kNoFrameworkListener, "out_of_memory"},
            {"the framework's", 5, true, 0, 0, kRegistering + kRegistered, kRegisteringLines, ""},
            {"refused", 5, true, 31, 31, kRegistering, kRegisteringLines, "framework_request"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        if (each.client == 0) {
            EXPECT_EQ(0, Init(5));
            continue;
        }
        script_.listenerStatus = each.frameworkStatus;
        const auto before = script_.listener;
        journal_.Take();
        log_.Take();
        {
            const Fault fault(each.memory ? Call::CopyMemory : Call::NothrowNew);
            EXPECT_EQ(each.status, service_->SetListener(each.client, listener));
        }
        EXPECT_EQ(each.entries, journal_.Take());
        EXPECT_EQ(kSetListenerLines + each.lines, log_.Take());
        EXPECT_EQ(each.refusal, NewRefusals());
        // A new one each time.
        const bool registers = each.client > 0 && !each.entries.empty();
        EXPECT_EQ(registers, before != script_.listener);
    }
}

TEST_F(Listeners, NoneTakesResultsInSilence) {
    EXPECT_EQ(0, service_->SetListener(-5, nullptr));
    EXPECT_EQ(1, service_->SetListener(-5, new FakeListener));
    log_.Take();
    service_->OnProcessDone(kId, AIContext(), 0, {TensorOn(first_), nullptr});
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(Listeners, AreSentTheResult) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    listener->during = [&](const hidl_vec<AITensorHandle>& outputs) {
        ASSERT_EQ(2U, outputs.size());
        EXPECT_EQ((std::vector<uint8_t>{7, 7}),
                  ::orva::test::ReadRegion<uint8_t>(outputs[1].data.handle()->data[0], 2));
        EXPECT_EQ(20U, outputs[1].attr.size());
        EXPECT_STREQ("AINeuralNetworkBuffer", outputs[1].type.c_str());
        // Others' requests go on meanwhile.
        EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(2, Ask(6)); }));
        log_.Take();
    };
    second_.Write<uint8_t>({7, 7});
    journal_.Take();
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_), TensorOn(second_)});
    EXPECT_EQ(kComplete, log_.Take());
    EXPECT_EQ((Entries{kDeliveryLock + "listener OnProcessDone 3 {\"k\":\"v\"} 2"}),
              journal_.Take());

    service_->UnInit(5);
    NewRefusals();
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ(kReportLines + kNotFound, log_.Take());
    EXPECT_EQ("result_without_listener", NewRefusals());
    EXPECT_EQ(1, listener->getStrongCount());
}

// A call that a client makes from inside its callback comes in on the thread that the callback
// holds up.
TEST_F(Listeners, MayCallFromTheirCallback) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener, later = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    auto* const reporting = script_.listener.get();
    listener->during = [&](const hidl_vec<AITensorHandle>&) {
        // The framework lets go of the listener that is reporting.
        EXPECT_EQ(0, service_->SetListener(5, nullptr));
        EXPECT_EQ(1, service_->SetListener(-5, later));
        service_->UnInit(5);
        EXPECT_EQ(0, Init(5));
        EXPECT_EQ(0, service_->SetListener(-5, later));
        // A result in the result: of a framework that completes on the caller's thread.
        script_.listener->OnProcessDone(Context("w"), 4, {});
    };
    journal_.Take();
    reporting->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ(kDeliveryLock + "listener OnProcessDone 4 {\"k\":\"w\"} 0", journal_.Take().back());
    EXPECT_EQ(1, listener->getStrongCount());
    // The lock is free again, and still keeps threads apart.
    EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(1, service_->SetListener(-5, later)); }));
}

TEST_F(Listeners, GetWhatCanBeSerialized) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    const auto good = TensorOn(first_), foreign = std::shared_ptr<IAITensor>(new ForeignTensor);
    const auto failed = [](int number) {
        return Error("OnProcessDone", "Process output tensor SerializeTo failed, tensor[" +
                                              std::to_string(number) + "]");
    };
    const LogLine unreached = Error("OnProcessDone", kName + " call OnProcessDone isOk error");
    const struct {
        std::vector<std::shared_ptr<IAITensor>> outputs;
        int32_t result;
        const char* call;
        Lines errors;
        const char* refusals;
    } cases[] = {
            {{good, foreign, good}, 0, "0 {\"k\":\"v\"} 2", {failed(0)}, "output_not_sent"},
            {{good, foreign, good}, 7, "1 {\"k\":\"v\"} 2", {failed(0)}, "output_not_sent"},
            {{nullptr, good}, -1, "1 {\"k\":\"v\"} 1", {failed(1)}, "output_not_sent"},
            {{foreign, nullptr},
             0,
             "0 {\"k\":\"v\"} 0",
             {failed(0), failed(1)},
             "output_not_sent 2"},
            {{good, good}, 7, "7 {\"k\":\"v\"} 2", {}, ""},
            {{}, 7, "7 {\"k\":\"v\"} 0", {unreached}, "listener_not_reached"},
    };
    for (const auto& each : cases) {
        listener->transport = each.outputs.empty() ? android::DEAD_OBJECT : android::OK;
        journal_.Take();
        log_.Take();
        service_->OnProcessDone(kId, Context("v"), each.result, each.outputs);
        EXPECT_EQ((Entries{kDeliveryLock + "listener OnProcessDone " + each.call}),
                  journal_.Take());
        Lines lines, errors;
        for (const LogLine& line : log_.Take()) {
            if (line.tag == kTag) {
                (line.priority == ANDROID_LOG_ERROR ? errors : lines).push_back(line);
            }
        }
        EXPECT_EQ(each.errors, errors);
        EXPECT_EQ(kDeliveryLines + kComplete, lines);
        EXPECT_EQ(each.refusals, NewRefusals());
    }
}

TEST_F(Listeners, OfTheFrameworkMayBelongToNobody) {
    FrameworkListener listener("1:1", nullptr);
    listener.OnProcessDone(AIContext(), 0, {});
    EXPECT_EQ(kReportLines, log_.Take());
    listener.OnServiceDied();
    EXPECT_EQ(kServiceDiedLines, log_.Take());
}

}  // namespace
}  // namespace orva::hidl::test
