/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/BufferTensorSerializer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <vector>

#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/AITensorSerializerRegistry.h"
#include "transport/TensorTest.h"

namespace orva::hidl {
namespace {

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

class BufferTensorSerializerTest : public TensorTest {
protected:
    BufferTensorSerializerTest() {
        attributes_.Write<int32_t>({1, 224, 225, 2, 3});
        handle_.attr = attributes_.Memory(20);
        handle_.data = data_.Memory(5000);
        handle_.type = "AINeuralNetworkBuffer";
    }

    Region attributes_{20}, data_{5000};
    AITensorHandle handle_{};
};

TEST_F(BufferTensorSerializerTest, WhatTheRegistryCannotLookUpIsRefused) {
    AITensorSerializerRegistry& registry = *AITensorSerializerRegistry::GetInstance();
    const std::pair<const char*, std::string> cases[] = {
            {nullptr, "Tensor name is nullptr.\n"},
            {"X", "Cannot find AITensorSerializer, type X.\n"},
            {"", "Cannot find AITensorSerializer, type .\n"},
    };
    for (const auto& [name, message] : cases) {
        std::shared_ptr<IAITensor> tensor = std::make_shared<NamedTensor>(name);
        EXPECT_EQ(1U, registry.SerializeTo(handle_, tensor));
        EXPECT_EQ(1U, registry.DeserializeFrom(tensor, handle_));
        EXPECT_EQ("E SerializeTo: " + message + "E DeserializeFrom: " + message, Story());
    }
    std::shared_ptr<IAITensor> none;
    EXPECT_EQ(1U, registry.DeserializeFrom(none, handle_));
    EXPECT_EQ("E DeserializeFrom: tensor is nullptr.\n", Story());
    // Nor does the pair of functions itself take none, in silence.
    EXPECT_EQ(1U, SerializeBufferTensor(handle_, none));
    EXPECT_EQ(1U, DeserializeBufferTensor(none, handle_));
    EXPECT_EQ("", Story());
}

TEST_F(BufferTensorSerializerTest, ReceivesATensorAndSendsItBack) {
    std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkIonBufferFallback>();
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    EXPECT_EQ("mmap 20\nmunmap 20\nmmap 5000\n", Story());
    auto& buffer = static_cast<AINeuralNetworkBufferHIDL&>(*tensor);
    EXPECT_EQ(224, buffer.GetHeight());
    EXPECT_EQ(5000, buffer.GetSize());

    // What is on its way stays whole when the same tensor is sent again, and when it goes.
    AITensorHandle sent[2] = {};
    for (const int i : {0, 1}) {
        buffer.SetHeight(17 + i);
        sent[i].reserved = 99;
        ASSERT_EQ(0U, SerializeBufferTensor(sent[i], tensor));
    }
    tensor.reset();
    for (const int i : {0, 1}) {
        EXPECT_EQ(99U, sent[i].reserved);
        EXPECT_STREQ("AINeuralNetworkIonBuffer", sent[i].type.c_str());
        EXPECT_EQ(InodeOf(handle_.data), InodeOf(sent[i].data));
        EXPECT_EQ(5000U, sent[i].data.size());
        EXPECT_EQ((std::vector<int32_t>{1, 17 + i, 225, 2, 3}),
                  test::ReadRegion<int32_t>(sent[i].attr.handle()->data[0], 6));
    }
    EXPECT_EQ(224, test::ReadRegion<int32_t>(attributes_.Fd(), 5)[1]);

    tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    // The received block goes back when none can be made.
    {
        const Fault fault(Call::CreateRegion);
        EXPECT_EQ(0U, SerializeBufferTensor(sent[0], tensor));
        EXPECT_EQ(InodeOf(handle_.attr), InodeOf(sent[0].attr));
    }
    for (const size_t ofTheCopies : {2, 3}) {
        const Fault fault(Call::CreateHandle, ofTheCopies);
        EXPECT_EQ(1U, SerializeBufferTensor(sent[0], tensor));
        EXPECT_TRUE(fault.Happened());
    }
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
    EXPECT_EQ(1U, DeserializeBufferTensor(tensor, handle_));
    EXPECT_NE(std::string::npos, Story().find("mmap 0\nE Init: mmap failed\n"));
}

}  // namespace
}  // namespace orva::hidl
