/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// ION tensors of clients: what the rule of their length lets in and what it keeps out.

#include <orva_platform/Runtime.h>

#include <algorithm>
#include <iterator>

#include "client/lib/Session.h"
#include "system/BadMemory.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_vec;
using client::Completion;
using client::Session;
using client::Tensor;
using client::TensorAttributes;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

Tensor ionTensor(size_t bytes, char filling) {
    Tensor tensor({}, bytes, Tensor::kIonBuffer);
    std::fill_n(tensor.data(), bytes, filling);
    return tensor;
}

bool isFilledWith(const Tensor& tensor, char filling) {
    return std::all_of(tensor.data(), tensor.data() + tensor.size(),
                       [=](uint8_t byte) { return byte == filling; });
}

class IonTensors : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
        mBefore = host().state();
    }
    void TearDown() override {
        orva_platform::stop();
        expectSettled(mBefore);
        SystemTest::TearDown();
    }

private:
    ProcessState mBefore;
};

TEST_F(IonTensors, OfAnySizeGoThereAndBack) {
    const size_t sizes[] = {1, 1000, 3840, 3841, 4096, 1u << 20};
    Session session(client::findService(), 1, "echo", "", {});
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    for (size_t i = 0; i < std::size(sizes); ++i) {
        inputs.push_back(ionTensor(sizes[i], static_cast<char>('a' + i)));
        outputs.push_back(ionTensor(sizes[i], '-'));
    }
    // One request in both kinds of memory.
    inputs.emplace_back(TensorAttributes{}, 5000);
    outputs.push_back(ionTensor(5000, '-'));
    session.send("", inputs, outputs);
    const Completion result = session.await();
    EXPECT_EQ(result.result, 0);
    ASSERT_EQ(result.outputs.size(), outputs.size());
    for (size_t i = 0; i < outputs.size(); ++i) {
        const char expected = i < std::size(sizes) ? static_cast<char>('a' + i) : '\0';
        EXPECT_TRUE(isFilledWith(outputs[i], expected)) << i;
        EXPECT_EQ(result.outputs[i].size(), outputs[i].size());
        EXPECT_TRUE(isFilledWith(result.outputs[i], expected)) << i;
        EXPECT_STREQ(result.outputs[i].handle().type.c_str(), Tensor::kIonBuffer);
    }
}

TEST_F(IonTensors, NeedTheRoomThatTheRuleAsks) {
    const struct {
        uint64_t region;
        uint64_t size;
        int32_t status;
    } cases[] = {
            {4096, 3840, 0},
            {4095, 3840, 1},
            {4096, 3841, 1},
            {8191, 3841, 1},
            {8192, 3841, 0},
            {4096, uint64_t{1} << 32, 1},
            {4096, uint64_t{1} << 63, 1},
            // Where the length would wrap to none, to a page, and to a page less.
            {8192, UINT64_MAX - 0x10fe, 1},
            {8192, UINT64_MAX, 1},
            {8192, UINT64_MAX - 0xfff, 1},
    };
    const auto service = client::findService();
    Session session(service, 1, "echo", "", {});
    const std::string refusal = "\"mmap fail\"";
    size_t refused = 0;
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.size << " bytes in " << each.region);
        const BadMemory memory(memoryFile(each.region), each.size);
        const Tensor good({}, each.status == 0 ? each.size : 1, Tensor::kIonBuffer);
        hidl_vec<AITensorHandle> inputs = {good.handle()};
        inputs[0].data = memory.memory();
        const hidl_vec<AITensorHandle> outputs = {good.handle()};
        const auto answer = service->Process(1, "", inputs, outputs, 0);
        ASSERT_TRUE(answer.isOk());
        EXPECT_EQ(static_cast<int32_t>(answer), each.status);
        if (each.status == 0) {
            session.await();
        } else {
            EXPECT_TRUE(host().log().await(refusal, ++refused));
        }
    }
    EXPECT_EQ(host().log().count("AINeuralNetworkIonBufferHIDL E"), refused);
}

}  // namespace

}  // namespace orva::test
