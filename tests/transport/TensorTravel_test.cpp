/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// How tensors are made by their names and travel: the record of their attributes, the block of
// memory that it lies in, and both memories together.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/AITensorRegistrar.h"
#include "transport/AITensorSerializerRegistry.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/TensorTest.h"

namespace {

bool factoryIsGone = false;

}  // namespace

extern "C" {

orva::AITensorFactory* __real__ZN4orva15AITensorFactory11GetInstanceEv();

orva::AITensorFactory* __wrap__ZN4orva15AITensorFactory11GetInstanceEv() {
    return factoryIsGone ? nullptr : __real__ZN4orva15AITensorFactory11GetInstanceEv();
}

}  // extern "C"

namespace orva::hidl {
namespace {

using Record = std::array<int32_t, 5>;
constexpr Record kRecord = {1, 224, 225, 2, 3};  // data type, height, width, number, channel

void SetRecord(AINeuralNetworkBuffer& tensor, const Record& record) {
    tensor.SetData_type(record[0]);
    tensor.SetHeight(record[1]);
    tensor.SetWidth(record[2]);
    tensor.SetNumber(record[3]);
    tensor.SetChannel(record[4]);
}

Record RecordOf(const AINeuralNetworkBuffer& tensor) {
    return {tensor.GetData_type(), tensor.GetHeight(), tensor.GetWidth(), tensor.GetNumber(),
            tensor.GetChannel()};
}

using TensorAttributes = TensorTest;

TEST_F(TensorAttributes, RecordIsFiveIntegersInOrder) {
    AINeuralNetworkBufferHIDL tensor, other;
    SetRecord(tensor, kRecord);
    EXPECT_EQ(20U, tensor.GetSerializeSize());
    std::array<int32_t, 6> buffer = {0, 0, 0, 0, 0, -7};
    EXPECT_EQ(0U, tensor.SerializeTo(buffer.data(), 20));
    EXPECT_EQ((std::array<int32_t, 6>{1, 224, 225, 2, 3, -7}), buffer);
    EXPECT_EQ(0U, other.DeserializeFrom(buffer.data(), 24));
    EXPECT_EQ(kRecord, RecordOf(other));
    EXPECT_EQ("", Story());

    // Too short a block to read is no error, too short a one to write is.
    EXPECT_EQ(1U, other.DeserializeFrom(Record{}.data(), 19));
    EXPECT_EQ(kRecord, RecordOf(other));
    EXPECT_EQ(1U, other.SerializeTo(buffer.data(), 19));
    EXPECT_EQ(
            "I DeserializeFrom: DeserializeFrom buffer size too small\n"
            "E SerializeTo: SerializeTo buffer size too small\n",
            Story());
}

TEST_F(TensorAttributes, FailedCopyEndsTheRecord) {
    for (size_t nth = 1; nth <= 5; ++nth) {
        SCOPED_TRACE(nth);
        AINeuralNetworkBufferHIDL tensor, other;
        SetRecord(tensor, kRecord);
        {
            const Fault fault(Call::CopyMemory, nth);
            EXPECT_EQ(1U, tensor.DeserializeFrom(Record{}.data(), 20));
        }
        EXPECT_EQ(kRecord, RecordOf(tensor));
        Record written = {};
        const Fault fault(Call::CopyMemory, nth);
        EXPECT_EQ(1U, tensor.SerializeTo(written.data(), 20));
        // What was written before stays.
        for (size_t i = 0; i < kRecord.size(); ++i) {
            EXPECT_EQ(i + 1 < nth ? kRecord[i] : 0, written[i]);
        }
        EXPECT_EQ(
                "E ORVA DeserializeFrom: Call tiro:mmMemCpyS Failed!\n"
                "E ORVA SerializeTo: Call tiro:mmMemCpyS Failed!\n",
                Story());
    }
}

TEST_F(TensorAttributes, BlockIsReadOnceOrLeavesTheFields) {
    Region whole(64), exact(20), shorter(4), none(0), without(20);
    for (Region* const each : {&whole, &exact}) {
        each->Write<int32_t>({kRecord.begin(), kRecord.end()});
    }
    without.Get()->numFds = 0;
    const Record before = {9, 8, 7, 6, 5};
    const char *const unmapped = "E DeserializeFromHidlMemory: mmap fail\n",
                      *const tooSmall =
                              "mmap 4\n"
                              "I DeserializeFrom: DeserializeFrom buffer size too small\n"
                              "munmap 4\n";
    const struct {
        hidl_memory block;
        Record after;
        const char* story;
    } cases[] = {
            {whole.Memory(20), kRecord, "mmap 20\nmunmap 20\n"},
            {whole.Memory(64), kRecord, "mmap 64\nmunmap 64\n"},
            // The rest of the region's page is there, too.
            {exact.Memory(24), kRecord, "mmap 24\nmunmap 24\n"},
            {exact.Memory(4096), kRecord, "mmap 4096\nmunmap 4096\n"},
            {exact.Memory(4097), before, unmapped},
            {hidl_memory(), before, ""},
            {without.Memory(20), before, ""},
            {shorter.Memory(4), before, tooSmall},
            {none.Memory(20), before, unmapped},
            {whole.Memory(1ULL << 63), before, unmapped},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.block.size());
        AINeuralNetworkBufferHIDL tensor;
        SetRecord(tensor, before);
        tensor.Receive(hidl_memory(), each.block);
        Story();
        EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
        EXPECT_EQ(each.after, RecordOf(tensor));
        EXPECT_EQ(each.story, Story());
    }
}

TEST_F(TensorAttributes, BlockIsMadeOrSaysWhereThatFails) {
    const std::string function = "E SerializeToHidlMemory: ",
                      region = "ashmem_create_region AshmemAllocator_hidl_orva 20\n",
                      noRegion = region + function + "ashmem allocate fail\n",
                      unmapped = "mmap 20\n" + function + "mmap failed\n";
    const std::string closed = "native_handle_close\n";
    const std::pair<Call, std::string> cases[] = {
            {Call::CreateRegion, noRegion + unmapped + closed},
            {Call::CreateHandle, region + function + "serialize_handle_ is nullptr\n"},
            {Call::EmptyHandle, region + function + "numFds is zero\n" + closed},
            {Call::Mmap, region + unmapped + closed},
    };
    Region received(20);
    for (const auto& [call, story] : cases) {
        SCOPED_TRACE(story);
        AINeuralNetworkBufferHIDL own, peers;
        peers.Receive(hidl_memory(), received.Memory(20));
        Story();
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_EQ(region + "mmap 20\nmunmap 20\n", Story());
        EXPECT_STREQ("ashmem", own.serializeMemory().name().c_str());
        {
            // A received block stands; the tensor's own of before is closed.
            const Fault fault(call);
            EXPECT_EQ(0, peers.SerializeToHidlMemory());
            EXPECT_EQ(story, Story());
            EXPECT_NE(nullptr, peers.serializeMemory().handle());
        }
        const Fault fault(call);
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_EQ(nullptr, own.serializeMemory().handle());
    }
}

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

TEST_F(BufferTensorSerializerTest, TheLastPairOfATypeCounts) {
    AITensorSerializerRegistry& registry = *AITensorSerializerRegistry::GetInstance();
    std::shared_ptr<IAITensor> tensor = std::make_shared<NamedTensor>("again");
    registry.RegisterFunc(
            "again", [](auto&, auto&) { return 6U; }, [](auto&, auto&) { return 7U; });
    registry.RegisterFunc(
            "again", [](auto&, auto&) { return 8U; }, [](auto&, auto&) { return 9U; });
    EXPECT_EQ(8U, registry.SerializeTo(handle_, tensor));
    EXPECT_EQ(9U, registry.DeserializeFrom(tensor, handle_));
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
        // Not every region can be written to like a file.
        const Fault fault(i == 0 ? Call::None : Call::FileAccess);
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

    tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    // What cannot be duplicated is left out, and everybody sees it.
    for (const size_t ofTheCopies : {2, 3}) {
        const Fault fault(Call::CreateHandle, ofTheCopies);
        EXPECT_EQ(0U, SerializeBufferTensor(sent[0], tensor));
        EXPECT_TRUE(fault.Happened());
        EXPECT_EQ(ofTheCopies == 2, sent[0].data.handle() == nullptr);
        EXPECT_EQ(ofTheCopies == 3, sent[0].attr.handle() == nullptr);
    }
    // The received block goes back when none can be made.
    tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
    ASSERT_EQ(0U, DeserializeBufferTensor(tensor, handle_));
    const Fault fault(Call::CreateRegion);
    EXPECT_EQ(0U, SerializeBufferTensor(sent[0], tensor));
    EXPECT_EQ(InodeOf(handle_.attr), InodeOf(sent[0].attr));
}

TEST_F(BufferTensorSerializerTest, OnlyTheDataDecidesOverSuccess) {
    const struct {
        Call call;
        size_t nth;
        uint32_t result;
        int height;
        const char* message;
    } cases[] = {
            {Call::CreateHandle, 1, 1, 224, "E Init: mmap fail\n"},
            {Call::CreateHandle, 2, 0, 1, "E DeserializeFromHidlMemory: mmap fail\n"},
            {Call::Mmap, 1, 0, 1, "E DeserializeFromHidlMemory: mmap fail\n"},
            // Nor read, but where it lies.
            {Call::FileAccess, 1, 0, 224, "munmap 20\n"},
            {Call::CopyMemory, 1, 0, 1, "Call tiro:mmMemCpyS Failed!\n"},
            {Call::Mmap, 2, 1, 224, "E Init: mmap fail\n"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.message);
        std::shared_ptr<IAITensor> tensor = std::make_shared<AINeuralNetworkBufferHIDL>();
        const Fault fault(each.call, each.nth);
        EXPECT_EQ(each.result, DeserializeBufferTensor(tensor, handle_));
        EXPECT_EQ(each.height, static_cast<AINeuralNetworkBufferHIDL&>(*tensor).GetHeight());
        EXPECT_NE(std::string::npos, Story().find(each.message));
    }
}

TEST(AITensorRegistrar, DoesNothingWithoutAFactory) {
    AITensorFactory& factory = *AITensorFactory::GetInstance();
    const AITensorCreator create = [](const AITensorDescription&) {
        return std::shared_ptr<IAITensor>(new AINeuralNetworkBufferHIDL);
    };
    std::optional<AITensorRegistrar> early, late;
    factoryIsGone = true;
    early.emplace("temporary", create);
    factoryIsGone = false;
    EXPECT_EQ(nullptr, factory.CreateTensor("temporary"));

    // One that registered nothing must not take away what another did.
    late.emplace("temporary", create);
    early.reset();
    EXPECT_NE(nullptr, factory.CreateTensor("temporary"));
    factoryIsGone = true;
    late.reset();
    factoryIsGone = false;
    EXPECT_NE(nullptr, factory.CreateTensor("temporary"));
}

TEST(AITensorRegistrar, MakesNoTensorWithoutMemory) {
    for (const char* const type : {"AINeuralNetworkBuffer", "AINeuralNetworkIonBuffer"}) {
        const Fault fault(Call::NothrowNew);
        EXPECT_EQ(nullptr, AITensorFactory::GetInstance()->CreateTensor(type));
        EXPECT_TRUE(fault.Happened());
    }
}

}  // namespace
}  // namespace orva::hidl
