/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <sys/stat.h>

#include "modelmanager/Fakes.h"
#include "support/Seam.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;
using ::orva::test::Call;
using ::orva::test::Fault;
using ::orva::test::Region;

const LogLine kSetListener = Info("SetListener", "ModelManagerServiceHIDL SetListener");

class ModelManagerEvents : public ModelManagerTest {
protected:
    LogLine NotFound() {
        return Error("OnProcessDone",
                     "ModelManagerServiceHIDL OnProcessDone not find the listener " + IdOf(5));
    }

    Region first_{100}, second_{100};
};

TEST_F(ModelManagerEvents, ClientListenerIsSetOnce) {
    const sp<FakeListener> listener = new FakeListener;
    listener->transport = android::DEAD_OBJECT;  // must not matter
    // Without a session, too; and it is no sign of life.
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    EXPECT_EQ((Entries{"L listener linkToDeath 22136"}), journal_.Take());
    EXPECT_EQ((Lines{kSetListener}), log_.Take());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
    EXPECT_TRUE(journal_.Take().empty());
    EXPECT_EQ((Lines{kSetListener,
                     Error("SetListener", "SetListener service " + IdOf(5) + " is already set")}),
              log_.Take());
    ASSERT_EQ(0, Init(5));
    service_->UnInit(5);
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

TEST_F(ModelManagerEvents, ClientListenerNeedsARecipient) {
    const sp<FakeListener> listener = new FakeListener;
    {
        const Fault fault(Call::NothrowNew);
        EXPECT_EQ(1, service_->SetListener(-5, listener));
    }
    EXPECT_EQ((Lines{Error("SetListener", "service_recipient is nullptr.")}), Errors());
    EXPECT_TRUE(journal_.Take().empty());
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

TEST_F(ModelManagerEvents, NullListenerTakesResultsInSilence) {
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

TEST_F(ModelManagerEvents, ManagerListenerIsANewOneEachTime) {
    EXPECT_EQ(2, service_->SetListener(5, nullptr));
    EXPECT_EQ((Lines{Error("SetListener", "SetListener service " + IdOf(5) + " is not create")}),
              Errors());
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    EXPECT_EQ(0, service_->SetListener(5, nullptr));
    const auto before = script_.listener;
    EXPECT_EQ((Entries{"L manager RegisterListener", "- UpdateServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_EQ((Lines{kSetListener}), log_.Take());
    script_.listenerStatus = 31;
    EXPECT_EQ(31, service_->SetListener(5, new FakeListener));
    EXPECT_EQ((Entries{"L manager RegisterListener"}), journal_.Take());
    EXPECT_NE(before, script_.listener);
    EXPECT_TRUE(Errors().empty());

    const Fault fault(Call::NothrowNew);
    EXPECT_EQ(1, service_->SetListener(5, nullptr));
    EXPECT_EQ((Lines{Error("SetListener", "client_listener is nullptr.")}), Errors());
}

TEST_F(ModelManagerEvents, CompletionReachesTheClient) {
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
        // Requests go on meanwhile, only listeners wait.
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(0, Init(6));
            EXPECT_EQ(0, service_->Process(6, "", {}, {}, 0));
        }));
    };
    journal_.Take();
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_), TensorOn(second_)});
    Lines lines;
    for (LogLine& line : log_.Take()) {
        if (line.function == "OnProcessDone") {
            lines.push_back(std::move(line));
        }
    }
    EXPECT_EQ((Lines{Info("OnProcessDone", "ModelManagerServiceHIDL OnAIEvent"),
                     Info("OnProcessDone",
                          "ModelManagerServiceHIDL OnAIEvent " + IdOf(5) + " call the listener"),
                     // The form ends at the first quote.
                     lines.size() > 2 ? lines[2] : LogLine(),
                     Info("OnProcessDone", "ModelManagerServiceHIDL OnAIEvent Complete " + IdOf(5) +
                                                   " call the listener")}),
              lines);
    EXPECT_EQ("L listener OnProcessDone 3 {\"k\":\"v\"} 2", journal_.Take().front());

    service_->UnInit(5);
    log_.Take();
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ((Lines{NotFound()}), Errors());
    EXPECT_EQ(1, listener->getStrongCount());
}

// A call that a client makes from inside its callback comes in on the thread that the callback
// holds up, and so holds the lock of the listeners.
TEST_F(ModelManagerEvents, ClientMayCallFromItsCallback) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener, later = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, service_->SetListener(5, nullptr));
    AIModelManagerListener* const managerListener = script_.listener.get();
    listener->during = [&](const hidl_vec<AITensorHandle>&) {
        // The model manager lets go of the listener that is reporting.
        EXPECT_EQ(0, service_->SetListener(5, nullptr));
        EXPECT_EQ(1, service_->SetListener(-5, later));
        service_->UnInit(5);
        EXPECT_EQ(0, Init(5));
        EXPECT_EQ(0, service_->SetListener(-5, later));
        // A result in the result: of a model manager that completes on the caller's thread.
        script_.listener->OnProcessDone(Context("w"), 4, {});
    };
    journal_.Take();
    managerListener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    const Entries entries = journal_.Take();
    EXPECT_EQ("L listener OnProcessDone 4 {\"k\":\"w\"} 0", entries.back());
    EXPECT_EQ(1, listener->getStrongCount());
    // The lock is free again, and still keeps threads apart.
    EXPECT_TRUE(AnotherThreadCan([&] { EXPECT_EQ(1, service_->SetListener(-5, later)); }));
}

TEST_F(ModelManagerEvents, UnserializableOutputsAreLeftOut) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
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
            {{nullptr, good}, -1, "1 {\"k\":\"v\"} 1", {failed(1)}},
            {{foreign, nullptr}, 7, "1 {\"k\":\"v\"} 0", {failed(0), failed(1)}},
            {{good}, 7, "7 {\"k\":\"v\"} 1", {}},
    };
    for (const auto& each : cases) {
        journal_.Take();
        log_.Take();
        service_->OnProcessDone(IdOf(5), Context("v"), each.result, each.outputs);
        EXPECT_EQ((Entries{std::string("L listener OnProcessDone ") + each.call}), journal_.Take());
        EXPECT_EQ(each.errors, Errors());
    }
}

TEST_F(ModelManagerEvents, FailedDeliveryIsOnlyLogged) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->transport = android::DEAD_OBJECT;
    log_.Take();
    service_->OnProcessDone(IdOf(5), AIContext(), 0, {});
    const Lines lines = log_.Take();
    ASSERT_EQ(4U, lines.size());
    EXPECT_EQ(Error("OnProcessDone", "ModelManagerServiceHIDL call OnProcessDone isOk error"),
              lines[2]);
    EXPECT_EQ(ANDROID_LOG_INFO, lines[3].priority);
    EXPECT_EQ(0, service_->Process(5, "", {}, {}, 0));
}

TEST_F(ModelManagerEvents, FrameworkListenerLogsWhatItIsTold) {
    ModelManagerClientListener listener("1:1", nullptr);
    listener.OnProcessDone(AIContext(), 0, {});
    listener.OnServiceDied();
    EXPECT_EQ((Lines{Info("OnProcessDone", "ModelManagerServiceHIDL OnAIEvent"),
                     Error("OnServiceDied", "ModelManagerServiceHIDL ServiceDied")}),
              log_.Take());
}

}  // namespace
}  // namespace orva::hidl::test
