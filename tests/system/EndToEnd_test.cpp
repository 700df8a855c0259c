/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What clients may count on when everybody behaves.

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

using client::Completion;
using client::Session;
using client::Tensor;
using client::TensorAttributes;

uint8_t patternAt(size_t i, size_t seed) {
    return static_cast<uint8_t>(i * 7 + i / 251 + seed);
}

Tensor patterned(size_t bytes, size_t seed) {
    Tensor tensor({}, bytes);
    for (size_t i = 0; i < bytes; ++i) {
        tensor.data()[i] = patternAt(i, seed);
    }
    return tensor;
}

bool hasPattern(const Tensor& tensor, size_t bytes, size_t seed) {
    size_t same = 0;
    while (same < tensor.size() && tensor.data()[same] == patternAt(same, seed)) {
        ++same;
    }
    return tensor.size() == bytes && same == bytes;
}

class EndToEnd : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
    }
};

TEST_F(EndToEnd, EchoReturnsBytesAttributesAndContext) {
    const size_t sizes[] = {1, 4095, 4096, 4097, 224 * 224 * 3};
    const TensorAttributes attributes = {0, 224, 224, 1, 3};
    Session session(client::findService(), 1, "echo", "", {});
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    for (const size_t size : sizes) {
        inputs.push_back(patterned(size, size));
        outputs.emplace_back(attributes, size);
    }
    session.send(R"({"frame":"17"})", inputs, outputs);
    const Completion result = session.await();
    EXPECT_EQ(result.result, 0);
    EXPECT_EQ(result.context, R"({"frame":"17"})");
    ASSERT_EQ(result.outputs.size(), std::size(sizes));
    for (size_t i = 0; i < std::size(sizes); ++i) {
        // The result is written into the buffer that was sent, and a view of it comes back.
        EXPECT_TRUE(hasPattern(outputs[i], sizes[i], sizes[i]));
        EXPECT_TRUE(hasPattern(result.outputs[i], sizes[i], sizes[i]));
        const TensorAttributes returned = result.outputs[i].attributes();
        EXPECT_EQ(memcmp(&returned, &attributes, sizeof attributes), 0);
    }
}

TEST_F(EndToEnd, SessionsOfOneClientRunBesideEachOther) {
    constexpr unsigned kSessions = 8;
    constexpr unsigned kRequests = 16;
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
    const auto contextOf = [](unsigned request) {
        return "{\"n\":\"" + std::to_string(request) + "\"}";
    };
    for (unsigned i = 0; i < kSessions * kRequests; ++i) {
        const unsigned number = i % kSessions;
        sessions[number]->send(contextOf(i / kSessions), inputs[number], outputs[number]);
    }
    for (unsigned i = 0; i < kSessions * kRequests; ++i) {
        const unsigned number = i % kSessions;
        const Completion result = sessions[number]->await();
        EXPECT_EQ(result.result, 0);
        // A session's requests end in the order in which they were sent.
        EXPECT_EQ(result.context, contextOf(i / kSessions));
        ASSERT_EQ(result.outputs.size(), 1U);
        EXPECT_TRUE(hasPattern(result.outputs[0], 10'000 + number, number));
    }
}

TEST_F(EndToEnd, OneClientIdInTwoProcessesIsTwoSessions) {
    const auto first = newClient();
    const auto second = newClient();
    for (ClientProcess* const client : {first.get(), second.get()}) {
        EXPECT_EQ(client->ask("session 7"), "000");
    }
    EXPECT_EQ(first->ask("send 7 100"), "0");
    EXPECT_EQ(first->ask("await"), "0 same");
    EXPECT_EQ(first->ask("uninit 7"), "0");
    EXPECT_EQ(first->ask("send 7 100"), "2");
    // The other's is still there, and its results go to itself.
    EXPECT_EQ(second->ask("send 7 100"), "0");
    EXPECT_EQ(second->ask("await"), "0 same");
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

}  // namespace

}  // namespace orva::test
