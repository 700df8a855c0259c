/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <sys/stat.h>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;

class Listeners : public ServiceTest {
protected:
    LogLine NotFound() {
        return Error("OnProcessDone", kName + " OnProcessDone not find the listener " + IdOf(5));
    }
    Lines Complete() {
        return {Info("OnProcessDone", kResult + "Complete " + IdOf(5) + " call the listener")};
    }

    Region first_{100}, second_{100};
};

TEST_F(Listeners, AreSetOrRefused) {
    const sp<FakeListener> listener = new FakeListener;
    listener->transport = android::DEAD_OBJECT;  // must not matter
    const auto error = [](const std::string& what) {
        return Lines{Error("SetListener", "SetListener service " + IdOf(5) + what)};
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
    } cases[] = {
            {"no session", 5, true, 0, 2, {}, error(" is not create")},
            {"no recipient", -5, false, 0, 1, {}, kNoRecipient},
            {"the client's", -5, true, 0, 0, Linking(5), {}},
            {"another", -5, true, 0, 1, {}, error(" is already set")},
            {"session begins", 0, true, 0, 0, {}, {}},
            {"no memory", 5, false, 0, 1, {}, NoFrameworkListener(5)},
            {"the framework's", 5, true, 0, 0, Registering(5, true), RegisteringLines(5)},
            {"refused", 5, true, 31, 31, Registering(5, false), RegisteringLines(5)},
            {"session ends", 0, true, 0, 0, {}, {}},
            {"the client's, later", -5, true, 0, 0, Linking(5), {}},
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
        // A new one each time.
        EXPECT_EQ(each.entries == Linking(5) || each.entries.empty(), before == script_.listener);
        if (each.status == 31) {
            service_->UnInit(5);
        }
    }
}

TEST_F(Listeners, NoneTakesResultsInSilence) {
    ASSERT_EQ(0, Init(5));
    EXPECT_EQ(0, service_->SetListener(-5, nullptr));
    EXPECT_EQ(1, service_->SetListener(-5, new FakeListener));
    log_.Take();
    service_->OnProcessDone(IdOf(5), AIContext(), 0, {TensorOn(first_), nullptr});
    EXPECT_TRUE(log_.Take().empty());
    service_->UnInit(5);
    EXPECT_EQ(0, service_->SetListener(-5, nullptr));
    EXPECT_EQ(0, service_->SetListener(INT32_MIN, nullptr));
    ASSERT_EQ(0, Init(5));
}

TEST_F(Listeners, AreSentTheResult) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    listener->during = [&](const hidl_vec<AITensorHandle>& outputs) {
        for (size_t i = 0; i < outputs.size(); ++i) {
            struct stat sent, own;
            ASSERT_EQ(0, fstat(outputs[i].data.handle()->data[0], &sent));
            ASSERT_EQ(0, fstat((i == 0 ? first_ : second_).Fd(), &own));
            EXPECT_EQ(own.st_ino, sent.st_ino);
            EXPECT_EQ(20U, outputs[i].attr.size());
            EXPECT_STREQ("AINeuralNetworkBuffer", outputs[i].type.c_str());
        }
        // Others' requests go on meanwhile.
        EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(2, Ask(6)); }));
        log_.Take();
    };
    journal_.Take();
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_), TensorOn(second_)});
    EXPECT_EQ(Complete(), log_.Take());
    EXPECT_EQ((Entries{kDeliveryLock + "listener OnProcessDone 3 {\"k\":\"v\"} 2"}),
              journal_.Take());

    service_->UnInit(5);
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ(kReportLines + Lines{NotFound()}, log_.Take());
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
    ASSERT_EQ(0, service_->SetListener(-5, new FakeListener));
    const auto good = TensorOn(first_), foreign = std::shared_ptr<IAITensor>(new ForeignTensor);
    const auto failed = [](int number) {
        return Error("OnProcessDone", "Process output tensor SerializeTo failed, tensor[" +
                                              std::to_string(number) + "]");
    };
    const struct {
        std::vector<std::shared_ptr<IAITensor>> outputs;
        int32_t result;
        const char* call;
        Lines errors;
    } cases[] = {
            {{good, foreign, good}, 0, "0 {\"k\":\"v\"} 2", {failed(0)}},
            {{good, foreign, good}, 7, "1 {\"k\":\"v\"} 2", {failed(0)}},
            {{nullptr, good}, -1, "1 {\"k\":\"v\"} 1", {failed(1)}},
            {{foreign, nullptr}, 0, "0 {\"k\":\"v\"} 0", {failed(0), failed(1)}},
            {{good, good}, 7, "7 {\"k\":\"v\"} 2", {}},
            {{}, 7, "7 {\"k\":\"v\"} 0", {}},
    };
    for (const auto& each : cases) {
        journal_.Take();
        log_.Take();
        service_->OnProcessDone(IdOf(5), Context("v"), each.result, each.outputs);
        EXPECT_EQ((Entries{kDeliveryLock + "listener OnProcessDone " + each.call}),
                  journal_.Take());
        EXPECT_EQ(each.errors, Errors());
    }
}

TEST_F(Listeners, ThatAreNotReachedAreOnlyLogged) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    for (const bool reached : {true, false}) {
        listener->transport = reached ? android::OK : android::DEAD_OBJECT;
        log_.Take();
        service_->OnProcessDone(IdOf(5), Context("v"), 0, {});
        const Lines failure = {Error("OnProcessDone", kName + " call OnProcessDone isOk error")};
        EXPECT_EQ(DeliveryLines(5, "{\"k\":\"v\"}") + (reached ? Lines() : failure) + Complete(),
                  log_.Take());
    }
    EXPECT_EQ(0, Ask(5));
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
