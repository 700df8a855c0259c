/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <sys/stat.h>

#include "aiservice/AIServiceClientListener.h"
#include "aiservice/Fakes.h"
#include "support/Seam.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;
using ::orva::test::Call;
using ::orva::test::Fault;
using ::orva::test::Region;

class AIServiceRequests : public AIServiceTest {
protected:
    Region first_{100}, second_{100};
};

TEST_F(AIServiceRequests, ProcessHandsTheRequestToTheNode) {
    ASSERT_EQ(0, Init(5));
    first_.Write<uint8_t>({7});
    journal_.Take();
    log_.Take();
    EXPECT_EQ(0, service_->Process(5, "{\"k\":\"v\"}", {TensorIn(first_), TensorIn(first_)},
                                   {TensorIn(second_)}, -3));
    EXPECT_EQ((Entries{"- UpdateServiceTime " + IdOf(5), "- node Process"}), journal_.Take());
    EXPECT_EQ((Lines{Info("Process", "AIServiceHIDL Process"),
                     Info("Process", "Process context: {\"k\":\"v\"}")}),
              log_.Take());
    EXPECT_EQ("v", node_->context.GetPara("k"));
    EXPECT_EQ(-3, node_->param);
    ASSERT_EQ(2U, node_->inputs.size());
    ASSERT_EQ(1U, node_->outputs.size());
    // Both ends see the same bytes, also after the call's own descriptors have gone.
    auto& input = static_cast<AISimpleTensor&>(*node_->inputs[1]);
    auto& output = static_cast<AISimpleTensor&>(*node_->outputs[0]);
    EXPECT_EQ(7, *static_cast<uint8_t*>(input.GetBuffer()));
    *static_cast<uint8_t*>(output.GetBuffer()) = 8;
    EXPECT_EQ((std::vector<uint8_t>{8}), ::orva::test::ReadRegion<uint8_t>(second_.Fd(), 1));
}

TEST_F(AIServiceRequests, ProcessAnswersWhatWentWrong) {
    ASSERT_EQ(0, Init(5));
    Region shorter(99);
    const AITensorHandle good = TensorIn(first_), unknown = TensorIn(first_, "X"),
                         bad = TensorIn(shorter);
    const std::string update = "- UpdateServiceTime " + IdOf(5);
    const LogLine inputError = Error("Process", "Process input tensor DeserializeFrom failed");
    const LogLine outputError = Error("Process", "Process output tensor DeserializeFrom failed");
    const struct {
        const char* what;
        int32_t client;
        hidl_vec<AITensorHandle> inputs, outputs;
        int32_t nodeStatus;
        int32_t result;
        Entries entries;
        Lines errors;
    } cases[] = {
            {"no session",
             6,
             {unknown},
             {},
             0,
             2,
             {},
             {Error("Process", "Process service " + IdOf(6) + " is not create")}},
            {"unknown input type", 5, {good, unknown}, {good}, 0, 1, {}, {inputError}},
            {"input unmappable", 5, {bad}, {unknown}, 0, 1, {}, {inputError}},
            {"unknown output type", 5, {good}, {unknown}, 0, 1, {}, {outputError}},
            {"output unmappable", 5, {good}, {good, bad}, 0, 1, {}, {outputError}},
            {"node refuses", 5, {}, {}, -9, -9, {update, "- node Process"}, {}},
            {"node accepts nothing at all", 5, {}, {}, 0, 0, {update, "- node Process"}, {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        journal_.Take();
        log_.Take();
        node_->processStatus = each.nodeStatus;
        EXPECT_EQ(each.result, service_->Process(each.client, "", each.inputs, each.outputs, 0));
        EXPECT_EQ(each.entries, journal_.Take());
        EXPECT_EQ(each.errors, TakeErrors(log_));
    }
    EXPECT_TRUE(node_->inputs.empty());
}

TEST_F(AIServiceRequests, ClientListenerIsSetOnce) {
    const sp<FakeListener> listener = new FakeListener;
    listener->transport = android::DEAD_OBJECT;  // must not matter
    // Without a session, too.
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    EXPECT_EQ((Entries{"L listener linkToDeath 13398", "L UpdateServiceTime " + IdOf(5)}),
              journal_.Take());
    EXPECT_TRUE(log_.Take().empty());
    const Lines alreadySet = {
            Error("SetListener", "SetListener service " + IdOf(5) + " is already set")};
    EXPECT_EQ(1, service_->SetListener(-5, listener));
    EXPECT_TRUE(journal_.Take().empty());
    EXPECT_EQ(alreadySet, log_.Take());

    // Only the end of a session takes a listener away.
    service_->UnInit(5);
    EXPECT_EQ(1, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
    service_->UnInit(5);
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

TEST_F(AIServiceRequests, ClientListenerNeedsARecipient) {
    const sp<FakeListener> listener = new FakeListener;
    {
        const Fault fault(Call::NothrowNew);
        EXPECT_EQ(1, service_->SetListener(-5, listener));
    }
    EXPECT_TRUE(journal_.Take().empty());
    EXPECT_TRUE(log_.Take().empty());
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    ASSERT_EQ(0, Init(5));
}

TEST_F(AIServiceRequests, NullListenerTakesResultsInSilence) {
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

TEST_F(AIServiceRequests, NodeListenerIsANewOneEachTime) {
    EXPECT_EQ(2, service_->SetListener(5, nullptr));
    EXPECT_EQ((Lines{Error("SetListener", "SetListener service " + IdOf(5) + " is not create")}),
              log_.Take());
    ASSERT_EQ(0, Init(5));
    journal_.Take();
    log_.Take();
    const Lines complete = {
            Info("SetListener", "AIServiceHIDL SetListener service " + IdOf(5) + " set complete")};
    EXPECT_EQ(0, service_->SetListener(5, nullptr));
    const auto before = node_->listener;
    EXPECT_EQ(complete, log_.Take());
    EXPECT_EQ((Entries{"- node RegisterListener"}), journal_.Take());
    node_->listenerStatus = 31;
    EXPECT_EQ(31, service_->SetListener(5, new FakeListener));
    EXPECT_EQ(complete, log_.Take());
    EXPECT_NE(before, node_->listener);

    const Fault fault(Call::NothrowNew);
    EXPECT_EQ(1, service_->SetListener(5, nullptr));
    EXPECT_EQ((Lines{Error("SetListener", "SetListener create client listener for service id: " +
                                                  IdOf(5) + " failed")}),
              log_.Take());
}

TEST_F(AIServiceRequests, CompletionReachesTheClient) {
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
        // A client may end its session from its callback, and others may come and go.
        service_->UnInit(5);
        EXPECT_TRUE(AnotherThreadCan([&] {
            EXPECT_EQ(0, Init(6));
            EXPECT_EQ(0, service_->SetListener(-6, nullptr));
            service_->UnInit(6);
        }));
        journal_.Take();
    };
    log_.Take();
    node_->listener->OnProcessDone(Context("v"), 3, {TensorOn(first_), TensorOn(second_)});
    const Lines lines = log_.Take();
    EXPECT_EQ(
            Info("OnProcessDone", "AIServiceHIDL OnProcessDone " + IdOf(5) + " call the listener"),
            lines.front());
    EXPECT_EQ(Info("OnProcessDone",
                   "AIServiceHIDL OnProcessDone Complete " + IdOf(5) + " call the listener"),
              lines.back());
    EXPECT_EQ(1, listener->getStrongCount());

    // The session has gone, and a result of it that comes later with it.
    node_->listener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ((Lines{Error("OnProcessDone",
                           "AIServiceHIDL OnProcessDone not find the listener " + IdOf(5))}),
              log_.Take());
    EXPECT_TRUE(journal_.Take().empty());
    node_->listener->OnServiceDied();
    AIServiceClientListener("1:1", nullptr).OnProcessDone(Context("v"), 0, {});
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AIServiceRequests, UnserializableOutputsAreLeftOut) {
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
            {{good, foreign, good}, 7, "1 {\"k\":\"v\"} 2", {failed(0)}},
            {{nullptr, good}, -1, "1 {\"k\":\"v\"} 1", {failed(1)}},
            {{foreign, nullptr, foreign},
             0,
             "0 {\"k\":\"v\"} 0",
             {failed(0), failed(1), failed(0)}},
            {{good, good}, 7, "7 {\"k\":\"v\"} 2", {}},
            {{}, 7, "7 {\"k\":\"v\"} 0", {}},
    };
    for (const auto& each : cases) {
        journal_.Take();
        log_.Take();
        service_->OnProcessDone(IdOf(5), Context("v"), each.result, each.outputs);
        EXPECT_EQ((Entries{std::string("- listener OnProcessDone ") + each.call}), journal_.Take());
        EXPECT_EQ(each.errors, TakeErrors(log_));
    }
}

TEST_F(AIServiceRequests, FailedDeliveryIsOnlyLogged) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    listener->transport = android::DEAD_OBJECT;
    log_.Take();
    service_->OnProcessDone(IdOf(5), Context("v"), 0, {});
    const std::string id = IdOf(5);
    EXPECT_EQ((Lines{Info("OnProcessDone",
                          "AIServiceHIDL OnProcessDone " + id + " call the listener"),
                     Error("OnProcessDone", "AIServiceHIDL call OnProcessDone isOk error"),
                     Info("OnProcessDone",
                          "AIServiceHIDL OnProcessDone Complete " + id + " call the listener")}),
              log_.Take());
    EXPECT_EQ(0, service_->Process(5, "", {}, {}, 0));
}

}  // namespace
}  // namespace orva::hidl::test
