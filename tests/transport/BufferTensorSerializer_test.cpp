/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/BufferTensorSerializer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <vector>

#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"
#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {
namespace {

using android::hardware::hidl_memory;
using test::Call;
using test::CallCount;
using test::Fault;
using test::Region;

ino_t InodeOf(const hidl_memory& memory) {
    struct stat status = {};
    EXPECT_EQ(0, fstat(memory.handle()->data[0], &status));
    return status.st_ino;
}

class NamedTensor : public IAITensor {
public:
    explicit NamedTensor(const char* name) : name_(name) {}
    bool Init(const AITensorDescription&) override { return true; }
    const char* GetTypeName() override { return name_; }
    uint32_t GetSerializeSize() override { return 0; }

private:
    const char* const name_;
};

class BufferTensorSerializerTest : public test::ResourceTest {
protected:
    BufferTensorSerializerTest() {
        attributes_.Write<int32_t>({1, 224, 225, 2, 3});
        handle_.attr = hidl_memory("ashmem", attributes_.Get(), 20);
        handle_.data = hidl_memory("ashmem", data_.Get(), 5000);
        handle_.type = "AINeuralNetworkBuffer";
    }

    Region attributes_{20}, data_{5000};
    AITensorHandle handle_{};
    test::LogCapture log_;
};

TEST_F(BufferTensorSerializerTest, WhatTheRegistryCannotLookUpIsRefused) {
    AITensorSerializerRegistry& registry = *AITensorSerializerRegistry::GetInstance();
    const auto error = [](const char* function, const char* message) {
        return test::LogLine{ANDROID_LOG_ERROR, "AINeuralNetworkBufferHIDL", function, message};
    };
    const std::pair<const char*, const char*> cases[] = {
            {nullptr, "Tensor name is nullptr."},
            {"X", "Cannot find AITensorSerializer, type X."},
            {"", "Cannot find AITensorSerializer, type ."},
    };
    for (const auto& [name, message] : cases) {
        std::shared_ptr<IAITensor> tensor = std::make_shared<NamedTensor>(name);
        EXPECT_EQ(1U, registry.SerializeTo(handle_, tensor));
        EXPECT_EQ(1U, registry.DeserializeFrom(tensor, handle_));
        EXPECT_EQ((std::vector<test::LogLine>{error("SerializeTo", message),
                                              error("DeserializeFrom", message)}),
                  log_.Take());
    }
    std::shared_ptr<IAITensor> none;
    EXPECT_EQ(1U, registry.DeserializeFrom(none, handle_));
    EXPECT_EQ((std::vector<test::LogLine>{error("DeserializeFrom", "tensor is nullptr.")}),
              log_.Take());
    // Nor does the pair of functions itself take none, in silence.
    EXPECT_EQ(1U, SerializeBufferTensor(handle_, none));
    EXPECT_EQ(1U, DeserializeBufferTensor(none, handle_));
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(BufferTensorSerializerTest, ReceivesATensorAndSendsItBack) {
    std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkIonBufferFallback>();
    const size_t mapped = CallCount(Call::Mmap), unmapped = CallCount(Call::Munmap);
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    EXPECT_EQ(mapped + 2, CallCount(Call::Mmap));
    EXPECT_EQ(unmapped + 1, CallCount(Call::Munmap));

    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    EXPECT_EQ(224, buffer.GetHeight());
    EXPECT_EQ(5000, buffer.GetSize());
    buffer.SetHeight(17);

    AITensorHandle sent{};
    sent.reserved = 99;
    ASSERT_EQ(0U, SerializeBufferTensor(sent, tensor));
    EXPECT_EQ(99U, sent.reserved);
    EXPECT_STREQ("AINeuralNetworkIonBuffer", sent.type.c_str());
    EXPECT_EQ(InodeOf(handle_.data), InodeOf(sent.data));
    EXPECT_EQ(5000U, sent.data.size());
    EXPECT_NE(InodeOf(handle_.attr), InodeOf(sent.attr));
    EXPECT_EQ((std::vector<int32_t>{1, 17, 225, 2, 3}),
              test::ReadRegion<int32_t>(sent.attr.handle()->data[0], 6));

    // What is on its way stays whole when the same tensor is sent again.
    AITensorHandle again{};
    buffer.SetHeight(18);
    ASSERT_EQ(0U, SerializeBufferTensor(again, tensor));
    EXPECT_EQ(17, test::ReadRegion<int32_t>(sent.attr.handle()->data[0], 5)[1]);
    EXPECT_EQ(18, test::ReadRegion<int32_t>(again.attr.handle()->data[0], 5)[1]);
}

TEST_F(BufferTensorSerializerTest, SendsTheReceivedBlockWhenNoneCanBeMade) {
    std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    const Fault fault(Call::CreateRegion);
    AITensorHandle sent{};
    EXPECT_EQ(0U, SerializeBufferTensor(sent, tensor));
    EXPECT_EQ(InodeOf(handle_.attr), InodeOf(sent.attr));
}

TEST_F(BufferTensorSerializerTest, OnlyTheDataDecidesOverSuccess) {
    const struct {
        const char* what;
        Call call;
        size_t nth;
        uint32_t result;
        int height;
    } cases[] = {
            {"data not duplicated", Call::CreateHandle, 1, 1, 1},
            {"attributes not mapped", Call::Mmap, 1, 0, 1},
            {"attributes not copied", Call::CopyMemory, 1, 0, 1},
            {"data not mapped", Call::Mmap, 2, 1, 224},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
        const Fault fault(each.call, each.nth);
        EXPECT_EQ(each.result, DeserializeBufferTensor(tensor, handle_));
        EXPECT_TRUE(fault.Happened());
        EXPECT_EQ(each.height, static_cast<AINeuralNetworkBufferHIDL&>(*tensor).GetHeight());
    }
    // Without data there is nothing to map: a new region of no size fails.
    handle_.data = hidl_memory();
    std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    log_.Take();
    EXPECT_EQ(1U, DeserializeBufferTensor(tensor, handle_));
    EXPECT_EQ("mmap failed", log_.Take().at(0).message);
}

}  // namespace
}  // namespace orva::hidl
