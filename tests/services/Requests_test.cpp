/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Requests, and the listeners that hear of their results.

#include "services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

// A tensor that has no serializer.
class ForeignTensor : public IAITensor {
public:
    bool Init(const AITensorDescription&) override { return true; }
    const char* GetTypeName() override { return "X"; }
    uint32_t GetSerializeSize() override { return 0; }
};

const std::string kCalling = kResult + "PID:5 call the listener\n";
const std::string kComplete = kResult + "Complete PID:5 call the listener\n";

class Listeners : public ServiceTest {
protected:
    Region first_{100}, second_{100};
};

TEST_F(Listeners, AreSetOrRefused) {
    ASSERT_EQ(0, Init(5));
    const sp<FakeListener> listener = new FakeListener;
    listener->transport = android::DEAD_OBJECT;  // must not matter
    const std::string error = "E SetListener: SetListener service PID:";
    // In this order. A client's own number is negated for its listener.
    const struct {
        int32_t client;
        Call fault;
        int32_t frameworkStatus;
        std::string outcome;
    } cases[] = {
            {-5, Call::NothrowNew, 0, kNoRecipient + "= 1 refused\n"},
            {-5, Call::None, 0, kLinked + "= 0\n"},
            {-5, Call::None, 0, error + "5 is already set\n= 1 refused\n"},
            {5, Call::NothrowNew, 0, kNoFrameworkListener + "= 1 refused\n"},
            {5, Call::None, 0, kRegistered + "= 0\n"},
            {5, Call::None, 31, kRefusedByFramework + "= 31 refused\n"},
            {6, Call::None, 0, error + "6 is not create\n= 2 refused\n"},
    };
    for (const auto& each : cases) {
        Story();
        script_.status = each.frameworkStatus;
        const auto before = script_.listener;
        {
            const Fault fault(each.fault);
            const int32_t status = service_->SetListener(each.client, listener);
            EXPECT_EQ(kSetting + each.outcome, Outcome(status));
        }
        // A new one each time.
        EXPECT_EQ(each.outcome.find("RegisterListener") != std::string::npos,
                  before != script_.listener);
    }
}

TEST_F(Listeners, AreSentTheResult) {
    const sp<FakeListener> listener = Listen();
    listener->during = [&](const Tensors& outputs) {
        ASSERT_EQ(2U, outputs.size());
        EXPECT_EQ((std::vector<uint8_t>{7, 7}),
                  ::orva::test::ReadRegion<uint8_t>(outputs[1].data.handle()->data[0], 2));
        EXPECT_EQ(20U, outputs[1].attr.size());
        EXPECT_STREQ("AINeuralNetworkBuffer", outputs[1].type.c_str());
    };
    size_t serialized = 0;
    const AIContext context = Context("v");
    whenSerialized = [&](const AIContext& each) {
        serialized += 1;
        // Where it is logged, too, each serialises a copy: the framework goes on with its own.
        EXPECT_EQ(kSerializesCopies, &each != &context);
    };
    second_.Write<uint8_t>({7, 7});
    script_.listener->OnProcessDone(context, 3, {TensorOn(first_), TensorOn(second_)});
    whenSerialized = nullptr;
    EXPECT_EQ(kSerializesCopies ? 2U : 1U, serialized);
    EXPECT_EQ(kReported + kCalling + kDelivered + "3 {\"k\":\"v\"} 2\n" + kComplete, Story());

    service_->UnInit(5);
    Outcome(0);
    script_.listener->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_EQ(kReported + "E OnProcessDone: " + kName +
                      " OnProcessDone not find the listener PID:5\n= 0 refused\n",
              Outcome(0));
    EXPECT_EQ(1, listener->getStrongCount());
}

// A call that a client makes from inside its callback comes in on the thread that the callback
// holds up.
TEST_F(Listeners, MayCallFromTheirCallback) {
    const sp<FakeListener> listener = Listen(), later = new FakeListener;
    auto* const reporting = script_.listener.get();
    listener->during = [&](const Tensors&) {
        // The framework lets go of the listener that is reporting.
        EXPECT_EQ(0, service_->SetListener(5, nullptr));
        EXPECT_EQ(1, service_->SetListener(-5, later));
        service_->UnInit(5);
        EXPECT_EQ(0, Init(5));
        EXPECT_EQ(0, service_->SetListener(-5, later));
        // A result in the result: of a framework that completes on the caller's thread.
        script_.listener->OnProcessDone(Context("v"), 4, {});
    };
    reporting->OnProcessDone(Context("v"), 3, {TensorOn(first_)});
    EXPECT_NE(std::string::npos, Story().find(kDelivered + "4 {\"k\":\"v\"} 0\n"));
    EXPECT_EQ(1, listener->getStrongCount());
    // The lock is free again, and still keeps threads apart.
    InAnotherThread([&] { EXPECT_EQ(1, service_->SetListener(-5, later)); });
}

TEST_F(Listeners, GetWhatCanBeSerialized) {
    const sp<FakeListener> listener = Listen();
    const auto good = TensorOn(first_), foreign = std::shared_ptr<IAITensor>(new ForeignTensor);
    const std::string error = "E OnProcessDone: Process output tensor SerializeTo failed, tensor[",
                      lost = "E AINeuralNetworkBufferHIDL SerializeTo: Cannot find "
                             "AITensorSerializer, type X.\n" +
                             error + "0]\n",
                      missing = error + "1]\n",
                      unreached = "E OnProcessDone: " + kName + " call OnProcessDone isOk error\n";
    const struct {
        Outputs outputs;
        int32_t result;
        std::string lines;
        const char* delivered;  // result, and the number of outputs
        const char* refusals;
    } cases[] = {
            {{good, foreign, good}, 0, lost, "0 {\"k\":\"v\"} 2\n", " refused"},
            {{good, foreign, good}, 7, lost, "1 {\"k\":\"v\"} 2\n", " refused"},
            {{nullptr, good}, -1, missing, "1 {\"k\":\"v\"} 1\n", " refused"},
            {{foreign, nullptr}, 0, lost + missing, "0 {\"k\":\"v\"} 0\n", " refused refused"},
            {{good, good}, 7, "", "7 {\"k\":\"v\"} 2\n", ""},
            {{}, 7, "", "7 {\"k\":\"v\"} 0\n", " refused"},
    };
    for (const auto& each : cases) {
        const bool dead = each.outputs.empty();
        listener->transport = dead ? android::DEAD_OBJECT : android::OK;
        script_.listener->OnProcessDone(Context("v"), each.result, each.outputs);
        EXPECT_EQ(kReported + each.lines + kCalling + kDelivered + each.delivered +
                          (dead ? unreached : "") + kComplete + "= 0" + each.refusals + "\n",
                  Outcome(0));
    }
}

TEST_F(Listeners, MayBeNone) {
    EXPECT_EQ(0, service_->SetListener(-6, nullptr));
    EXPECT_EQ(1, service_->SetListener(-6, new FakeListener));
    Story();
    // Results are taken in silence.
    service_->OnProcessDone(std::to_string(getpid()) + ":6", AIContext(), 0, {nullptr});
    // The framework's may belong to no service.
    FrameworkListener listener("1:1", nullptr);
    listener.OnProcessDone(AIContext(), 0, {});
    listener.OnServiceDied();
    EXPECT_EQ(kReported + kServiceDied, Story());
}

using Requests = ServiceTest;

TEST_F(Requests, SayWhatBecomesOfThem) {
    ASSERT_EQ(0, Init(5));
    Story();
    Region region(100), shorter(0);
    const AITensorHandle good = TensorIn(region), unknown = TensorIn(region, "X"),
                         bad = TensorIn(shorter);
    const std::string below = "E AINeuralNetworkBufferHIDL ";
    const std::string noTensor = below + "DeserializeFrom: tensor is nullptr.\n",
                      unmapped = below + "Init: mmap fail\n";
    for (const Method& method : Methods(*service_, "{\"k\":\"v\"}")) {
        const std::string name = method.name, info = "I " + name + ": ", error = "E " + name + ": ";
        const auto typed = [&](const char* type) {
            return method.namesTypes ? info + name + " tensorstype " + type + "\n" : "";
        };
        const auto failed = [&](const char* which) {
            return error + name + " " + which + " " + method.tensor + " DeserializeFrom failed\n";
        };
        const std::string goodInput = typed("AINeuralNetworkBuffer"),
                          noInput = failed("input") + "= 1 refused\n",
                          noOutput = failed("output") + "= 1 refused\n",
                          unknownOutput = method.makesOutputs
                                                  ? error + name +
                                                            " output tensor create failed\n" +
                                                            "= 1 refused\n"
                                                  : noTensor + noOutput,
                          reached = info + name +
                                    " context: {\"k\":\"v\"}\n- UpdateServiceTime 5\n" +
                                    "- framework " + (name == "Process" ? "Process -3" : name) +
                                    " {\"k\":\"v\"}\n";
        const struct {
            int32_t client;
            Tensors inputs, outputs;
            int32_t frameworkStatus;
            std::string outcome;
        } cases[] = {
                {6, {unknown}, {}, 0, error + name + " service PID:6 is not create\n= 2 refused\n"},
                {5, {good, unknown}, {good}, 0, goodInput + typed("X") + noTensor + noInput},
                {5, {bad}, {unknown}, 0, goodInput + unmapped + noInput},
                {5, {good}, {good, unknown}, 0, goodInput + unknownOutput},
                {5, {good}, {good, bad}, 0, goodInput + unmapped + noOutput},
                {5, {good}, {}, -9, goodInput + reached + "= -9 refused\n"},
                {5, {}, {}, 0, reached + "= 0\n"},
                {5, {good, good}, {good}, 0, goodInput + goodInput + reached + "= 0\n"},
        };
        for (const auto& each : cases) {
            script_.status = each.frameworkStatus;
            EXPECT_EQ(info + kName + " " + name + "\n" + each.outcome,
                      Outcome(method.call(each.client, each.inputs, each.outputs)));
        }
        EXPECT_EQ(2U, script_.inputs.size());
        EXPECT_EQ(1U, script_.outputs.size());
    }
}

// Comparing texts stops at a NUL, and what stands behind it must not be overlooked: nor after a
// tensor whose type has just been found.
TEST_F(Requests, KnowTypesByTheirWholeName) {
    ASSERT_EQ(0, Init(5));
    Region region(100);
    const std::string name = "AINeuralNetworkBuffer";
    const AITensorHandle good = TensorIn(region, name),
                         longer = TensorIn(region, name + std::string("\0x", 2));
    for (const Method& method : Methods(*service_, "")) {
        EXPECT_EQ(1, method.call(5, {longer}, {}));
        EXPECT_EQ(1, method.call(5, {good, longer}, {}));
        EXPECT_EQ(1, method.call(5, {good}, {good, longer}));
        EXPECT_EQ(0, method.call(5, {good, good}, {good}));
    }
}

TEST_F(Requests, KeepTheOrderOfTheirTensors) {
    ASSERT_EQ(0, Init(5));
    std::vector<std::unique_ptr<Region>> regions;
    std::vector<AITensorHandle> handles;
    for (uint8_t i = 0; i < 4; ++i) {
        regions.push_back(std::make_unique<Region>(100));
        regions.back()->Write<uint8_t>({i});
        handles.push_back(TensorIn(*regions.back()));
    }
    for (const Method& method : Methods(*service_, "")) {
        EXPECT_EQ(0, method.call(5, {handles[0], handles[1]}, {handles[2], handles[3]}));
        int expected = 0;
        for (const Outputs& tensors : {script_.inputs, script_.outputs}) {
            for (const auto& tensor : tensors) {
                auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
                EXPECT_EQ(expected++, *static_cast<uint8_t*>(buffer.GetBuffer()));
            }
        }
        EXPECT_EQ(4, expected);
    }
}

}  // namespace
}  // namespace orva::hidl::test
