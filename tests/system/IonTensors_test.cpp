/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// ION tensors of clients: what the rule of their length lets in and what it keeps out.

#include <algorithm>

#include "support/Region.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_vec;
using client::Session;
using client::Tensor;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

class IonTensors : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
    }
};

TEST_F(IonTensors, OfAnySizeGoThereAndBack) {
    Session session(client::findService(), 1, "echo", "", {});
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    for (const size_t size : {1, 3840, 3841, 1 << 20, 5000}) {
        // One request in both kinds of memory.
        inputs.emplace_back(client::TensorAttributes{}, size,
                            size == 5000 ? Tensor::kBuffer : Tensor::kIonBuffer);
        std::fill_n(inputs.back().data(), size, static_cast<uint8_t>(size % 255));
        outputs.emplace_back(client::TensorAttributes{}, size, Tensor::kIonBuffer);
    }
    session.send("", inputs, outputs);
    const client::Completion result = session.await();
    EXPECT_EQ(result.result, 0);
    ASSERT_EQ(result.outputs.size(), outputs.size());
    for (size_t i = 0; i < outputs.size(); ++i) {
        const Tensor& returned = result.outputs[i];
        const uint8_t* const sent = inputs[i].data();
        ASSERT_EQ(returned.size(), inputs[i].size());
        EXPECT_TRUE(std::equal(sent, sent + returned.size(), outputs[i].data())) << i;
        EXPECT_TRUE(std::equal(sent, sent + returned.size(), returned.data())) << i;
        EXPECT_STREQ(returned.handle().type.c_str(), Tensor::kIonBuffer);
    }
}

// The rule's edges are tested with the tensor itself.
TEST_F(IonTensors, ShorterThanTheRuleAsksAreRefused) {
    const auto service = client::findService();
    Session session(service, 1, "echo", "", {});
    Region region(8191);
    size_t refused = 0;
    for (const uint64_t size : {uint64_t{3841}, UINT64_MAX - 0x10fe}) {
        const Tensor good({}, 1, Tensor::kIonBuffer);
        hidl_vec<AITensorHandle> tensors = {good.handle()};
        tensors[0].data = region.Memory(size);
        EXPECT_EQ(service->Process(1, "", tensors, {}, 0).withDefault(0), 1) << size;
        EXPECT_TRUE(host().log().await("\"mmap fail\"", ++refused));
    }
}

}  // namespace

}  // namespace orva::test
