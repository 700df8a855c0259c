/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What clients may count on when everybody behaves.

#include <orva_platform/Runtime.h>
#include <unistd.h>

#include "client/lib/Session.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using client::Completion;
using client::Session;
using client::Tensor;
using client::TensorAttributes;

class EndToEnd : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
    }
};

TEST_F(EndToEnd, EchoReturnsBytesAttributesAndContext) {
    constexpr size_t kBytes = 224 * 224 * 3;
    Session session(client::findService(), 1, "echo", "", {});
    const TensorAttributes attributes = {0, 224, 224, 1, 3};
    std::vector<Tensor> inputs;
    inputs.push_back(patterned(kBytes));
    std::vector<Tensor> outputs;
    outputs.emplace_back(attributes, kBytes);
    session.send(R"({"frame":"17"})", inputs, outputs);
    const Completion result = session.await();
    EXPECT_EQ(result.result, 0);
    EXPECT_EQ(result.context, R"({"frame":"17"})");
    // The result is written into the buffer that was sent, and a view of it comes back.
    EXPECT_TRUE(hasPattern(outputs[0], kBytes));
    ASSERT_EQ(result.outputs.size(), 1u);
    EXPECT_TRUE(hasPattern(result.outputs[0], kBytes));
    const TensorAttributes returned = result.outputs[0].attributes();
    EXPECT_EQ(memcmp(&returned, &attributes, sizeof attributes), 0);
}

TEST_F(EndToEnd, SeveralTensorsKeepTheirOrder) {
    Session session(client::findService(), 1, "echo", "", {});
    const size_t sizes[] = {1, 4095, 4096, 4097, 1u << 20};
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    for (unsigned i = 0; i < std::size(sizes); ++i) {
        inputs.push_back(patterned(sizes[i], i));
        outputs.emplace_back(TensorAttributes{}, sizes[i]);
    }
    session.send("", inputs, outputs);
    const Completion result = session.await();
    ASSERT_EQ(result.outputs.size(), std::size(sizes));
    for (unsigned i = 0; i < std::size(sizes); ++i) {
        EXPECT_TRUE(hasPattern(result.outputs[i], sizes[i], i)) << i;
    }
}

TEST_F(EndToEnd, SessionsOfOneClientRunBesideEachOther) {
    constexpr int kSessions = 8;
    constexpr int kRequests = 16;
    const ProcessState before = host().state();
    {
        const auto service = client::findService();
        std::vector<std::unique_ptr<Session>> sessions;
        std::vector<Tensor> inputs[kSessions];
        std::vector<Tensor> outputs[kSessions];
        for (unsigned i = 0; i < kSessions; ++i) {
            sessions.push_back(std::make_unique<Session>(service, i + 1, "echo", "",
                                                         std::vector<client::Model>()));
            inputs[i].push_back(patterned(10'000 + i, i));
            outputs[i].emplace_back(TensorAttributes{}, 10'000 + i);
        }
        for (int request = 0; request < kRequests; ++request) {
            for (unsigned i = 0; i < kSessions; ++i) {
                sessions[i]->send("{\"n\":\"" + std::to_string(request) + "\"}", inputs[i],
                                  outputs[i]);
            }
        }
        for (int request = 0; request < kRequests; ++request) {
            for (unsigned i = 0; i < kSessions; ++i) {
                const Completion result = sessions[i]->await();
                EXPECT_EQ(result.result, 0);
                // A session's requests end in the order in which they were sent.
                EXPECT_EQ(result.context, "{\"n\":\"" + std::to_string(request) + "\"}");
                ASSERT_EQ(result.outputs.size(), 1u);
                EXPECT_TRUE(hasPattern(result.outputs[0], 10'000 + i, i));
            }
        }
    }
    orva_platform::stop();
    expectSettled(before);
}

TEST_F(EndToEnd, OneClientIdInTwoProcessesIsTwoSessions) {
    const auto first = newClient();
    const auto second = newClient();
    for (const auto& client : {&first, &second}) {
        EXPECT_EQ((*client)->ask("init 7 echo"), "0");
        EXPECT_EQ((*client)->ask("set-listener 7"), "0");
        EXPECT_EQ((*client)->ask("node-listener 7"), "0");
    }
    EXPECT_EQ(first->ask("send 7 100"), "0");
    EXPECT_EQ(first->ask("await"), "0 same");
    EXPECT_EQ(first->ask("uninit 7"), "0");
    EXPECT_EQ(first->ask("send 7 100"), "2");
    // The other's is still there, and its results go to itself.
    EXPECT_EQ(second->ask("send 7 100"), "0");
    EXPECT_EQ(second->ask("await"), "0 same");
    EXPECT_EQ(first->finish(), 0);
    EXPECT_EQ(second->finish(), 0);
}

TEST_F(EndToEnd, StatusesOfTheProtocol) {
    const auto client = newClient();
    EXPECT_EQ(client->ask("send 1 100"), "2") << "no session";
    EXPECT_EQ(client->ask("node-listener 1"), "2") << "no session";
    EXPECT_EQ(client->ask("init 1 nothing"), "1") << "no such node";
    EXPECT_EQ(client->ask("send 1 100"), "2") << "still no session";
    EXPECT_EQ(client->ask("init 1 echo"), "0");
    // The second one is a success that changes nothing, whatever it asks for.
    EXPECT_EQ(client->ask("init 1 nothing"), "0");
    EXPECT_EQ(client->ask("init 1 onnx"), "0");
    EXPECT_EQ(client->ask("set-listener 1"), "0");
    EXPECT_EQ(client->ask("set-listener 1"), "1") << "has one already";
    EXPECT_EQ(client->ask("node-listener 1"), "0");
    EXPECT_EQ(client->ask("send 1 100"), "0");
    EXPECT_EQ(client->ask("await"), "0 same") << "not the echo node of the first Init";
    EXPECT_EQ(client->ask("uninit 1"), "0");
    EXPECT_EQ(client->ask("uninit 1"), "0") << "no session, and no complaint";
    EXPECT_EQ(client->ask("init 1 onnx"), "101") << "no model";
    EXPECT_EQ(client->ask("send 1 100"), "2") << "the failed session is gone";
    EXPECT_EQ(client->finish(), 0);

    const std::string id = std::to_string(client->process().pid()) + ":1";
    for (const std::string& message : {
                 "Process service " + id + " is not create",
                 "SetListener service " + id + " is not create",
                 std::string("create AIService type nothing error"),
                 "Init service " + id + " is already create",
                 "SetListener service " + id + " is already set",
                 "RemoveService service " + id + " is not create",
                 "RemoveService " + id + " Complete",
                 std::string("Service init failed"),
         }) {
        EXPECT_TRUE(host().log().await(message)) << message;
    }
}

// A session that could not be opened leaves nothing that only a time-out would clear.
TEST_F(EndToEnd, RefusedSessionIsClosed) {
    std::vector<client::Model> models;
    models.push_back({"", client::SharedRegion("model", 4096)});
    ASSERT_EQ(ftruncate(models[0].bytes.handle()->data[0], 100), 0);
    const auto service = client::findService();
    EXPECT_THROW(Session(service, 1, "echo", "", models), client::ServiceError);
    EXPECT_EQ(2, static_cast<int32_t>(service->Process(1, "", {}, {}, 0)));
    EXPECT_NO_THROW(Session(service, 1, "echo", "", {}));
}

TEST_F(EndToEnd, ServiceIsListedWithItsProcess) {
    const auto services = orva_platform::listServices();
    bool found = false;
    for (const auto& entry : services) {
        found = found || (entry.interface == "vendor.selkat.hardware.ai@2.1::IAIService" &&
                          entry.instance == "default" && entry.pid == host().pid());
    }
    EXPECT_TRUE(found);
}

}  // namespace

}  // namespace orva::test
