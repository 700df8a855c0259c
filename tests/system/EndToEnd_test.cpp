/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What clients may count on.

#include <algorithm>
#include <cstring>

#include "support/Region.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_vec;
using client::Completion;
using client::Session;
using client::Tensor;
using client::TensorAttributes;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

// No two neighbouring pages of it are alike.
Tensor patterned(size_t bytes, const char* type = Tensor::kBuffer) {
    Tensor tensor({}, bytes, type);
    for (size_t i = 0; i < bytes; ++i) {
        tensor.data()[i] = static_cast<uint8_t>(i * 7 + i / 251 + bytes);
    }
    return tensor;
}

bool areAlike(const Tensor& left, const Tensor& right) {
    return std::equal(left.data(), left.data() + left.size(), right.data(),
                      right.data() + right.size());
}

class EndToEnd : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
    }
};

// Of any size, in both kinds of memory.
TEST_F(EndToEnd, EchoReturnsBytesAttributesAndContext) {
    const size_t sizes[] = {1, 3840, 3841, 4096, 4097, 224 * 224 * 3};
    const char* const types[] = {Tensor::kBuffer, Tensor::kIonBuffer};
    const TensorAttributes attributes = {0, 224, 224, 1, 3};
    Session session(client::findService(), 1, "echo", "", {});
    for (const char* const type : types) {
        std::vector<Tensor> inputs;
        std::vector<Tensor> outputs;
        for (const size_t size : sizes) {
            inputs.push_back(patterned(size, types[inputs.size() % 2]));
            outputs.emplace_back(attributes, size, type);
        }
        session.send(R"({"frame":"17"})", inputs, outputs);
        const Completion result = session.await();
        EXPECT_EQ(result.result, 0);
        EXPECT_EQ(result.context, R"({"frame":"17"})");
        ASSERT_EQ(result.outputs.size(), std::size(sizes));
        for (size_t i = 0; i < std::size(sizes); ++i) {
            // The result is written into the buffer that was sent, and a view of it comes back.
            EXPECT_TRUE(areAlike(inputs[i], outputs[i]));
            EXPECT_TRUE(areAlike(inputs[i], result.outputs[i]));
            EXPECT_STREQ(result.outputs[i].handle().type.c_str(), type);
            const TensorAttributes returned = result.outputs[i].attributes();
            EXPECT_EQ(memcmp(&returned, &attributes, sizeof attributes), 0);
        }
    }
}

// What this process's transport does not take is refused to it alone.
TEST_F(EndToEnd, AClosedDescriptorIsNotSent) {
    constexpr size_t kBytes = 4096;
    Session session(client::findService(), 1, "echo", "", {});
    const Tensor good({}, kBytes);
    hidl_vec<AITensorHandle> inputs = {good.handle()};
    Handle closed((hidl::UniqueFd()));
    inputs[0].data = closed.Memory(kBytes);
    const auto answer = client::findService()->Process(1, "", inputs, inputs, 0);
    EXPECT_FALSE(answer.isOk());
    EXPECT_FALSE(answer.isDeadObject());
    session.send("", std::vector<Tensor>(), {});
    EXPECT_EQ(session.await().result, 0);
}

}  // namespace

}  // namespace orva::test
