/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The record of a tensor's attributes, and the block of memory that it travels in.

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/TensorTest.h"

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
    Region whole(64), shorter(4), without(20);
    whole.Write<int32_t>({kRecord.begin(), kRecord.end()});
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
            {hidl_memory(), before, ""},
            {without.Memory(20), before, ""},
            {shorter.Memory(4), before, tooSmall},
            {shorter.Memory(20), before, unmapped},
            {whole.Memory(1ULL << 63), before, unmapped},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.block.size());
        AINeuralNetworkBufferHIDL tensor;
        SetRecord(tensor, before);
        ASSERT_TRUE(tensor.Receive(hidl_memory(), each.block));
        Story();
        EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
        EXPECT_EQ(each.after, RecordOf(tensor));
        EXPECT_EQ(each.story, Story());
    }
}

TEST_F(TensorAttributes, BlockIsMadeOrSaysWhereThatFails) {
    const std::string function = "E SerializeToHidlMemory: ",
                      region = "ashmem_create_region AshmemAllocator_hidl_orva 20\n",
                      closed = "native_handle_close\n",
                      noRegion = region + function + "ashmem allocate fail\n",
                      unmapped = "mmap 20\n" + function + "mmap failed\n";
    const std::pair<Call, std::string> cases[] = {
            {Call::CreateRegion, noRegion + unmapped},
            {Call::CreateHandle, region + function + "serialize_handle_ is nullptr\n"},
            {Call::EmptyHandle, region + function + "numFds is zero\n"},
            {Call::Mmap, region + unmapped},
    };
    Region received(20);
    for (const auto& [call, story] : cases) {
        SCOPED_TRACE(story);
        AINeuralNetworkBufferHIDL own, peers;
        SetRecord(own, kRecord);
        ASSERT_TRUE(peers.Receive(hidl_memory(), received.Memory(20)));
        Story();
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_EQ(region + "mmap 20\nmunmap 20\n", Story());
        const hidl_memory& block = own.serializeMemory();
        EXPECT_EQ(20U, block.size());
        EXPECT_STREQ("ashmem", block.name().c_str());
        ASSERT_EQ(1, block.handle()->numFds);
        EXPECT_EQ(std::vector<int32_t>(kRecord.begin(), kRecord.end()),
                  test::ReadRegion<int32_t>(block.handle()->data[0], 6));
        // The tensor's own block of before is closed; a received one stands.
        for (AINeuralNetworkBufferHIDL* const tensor : {&own, &peers}) {
            const Fault fault(call);
            EXPECT_EQ(0, tensor->SerializeToHidlMemory());
            std::string told = Story();
            if (const size_t at = told.find(closed); at != std::string::npos) {
                told.erase(at, closed.size());
            }
            EXPECT_EQ(story, told);
            EXPECT_EQ(tensor == &own, tensor->serializeMemory().handle() == nullptr);
        }
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_NE(nullptr, own.serializeMemory().handle());
    }
}

TEST_F(TensorAttributes, ThatCannotBeDuplicatedAreRefusedAsDataIs) {
    Region region(4096), negative(4096);
    negative.Get()->numFds = -1;
    test::Handle closed((UniqueFd()));
    AINeuralNetworkBufferHIDL tensor;
    for (test::Handle* bad : {static_cast<test::Handle*>(&negative), &closed}) {
        EXPECT_FALSE(tensor.Receive(bad->Memory(4096), region.Memory(20)));
        EXPECT_FALSE(tensor.Receive(region.Memory(4096), bad->Memory(20)));
        const std::string told = Story();
        EXPECT_NE(std::string::npos, told.find("E Receive: data descriptor not duplicated\n"));
        EXPECT_NE(std::string::npos, told.find("E Receive: attribute descriptor not duplicated\n"));
    }
}

}  // namespace
}  // namespace orva::hidl
