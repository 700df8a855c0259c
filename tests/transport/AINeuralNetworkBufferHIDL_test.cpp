/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/AINeuralNetworkBufferHIDL.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace orva::hidl {
namespace {

using android::hardware::hidl_memory;
using test::Call;
using test::CallCount;
using test::Fault;
using test::Handle;
using test::LogCapture;
using test::LogLine;
using test::Region;

constexpr char kTag[] = "AINeuralNetworkBufferHIDL";

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

LogLine Error(const char* function, const char* message) {
    return {ANDROID_LOG_ERROR, kTag, function, message};
}

AITensorDescription OfSize(const std::string& size) {
    AITensorDescription description;
    description.add_para("size", size);
    return description;
}

class AINeuralNetworkBufferHIDLTest : public test::ResourceTest {
protected:
    // Shared mappings since the test began whose line contains a text.
    size_t NewMappings(const std::string& text) const {
        const auto count = [&](const std::vector<std::string>& mappings) {
            return std::count_if(mappings.begin(), mappings.end(), [&](const std::string& line) {
                return line.find(text) != std::string::npos;
            });
        };
        return static_cast<size_t>(count(test::Resources::OfThisProcess().mappings) -
                                   count(before_.mappings));
    }

    LogCapture log_;

private:
    const test::Resources before_ = test::Resources::OfThisProcess();
};

TEST_F(AINeuralNetworkBufferHIDLTest, RecordIsFiveIntegersInOrder) {
    AINeuralNetworkBufferHIDL tensor;
    SetRecord(tensor, kRecord);
    EXPECT_EQ(20U, tensor.GetSerializeSize());
    std::array<int32_t, 6> buffer;
    buffer.fill(-7);
    EXPECT_EQ(0U, tensor.SerializeTo(buffer.data(), 20));
    EXPECT_EQ((std::array<int32_t, 6>{1, 224, 225, 2, 3, -7}), buffer);

    AINeuralNetworkBufferHIDL other;
    EXPECT_EQ(0U, other.DeserializeFrom(buffer.data(), 24));
    EXPECT_EQ(kRecord, RecordOf(other));
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, RecordNeedsTwentyBytes) {
    for (uint32_t size : {0U, 8U, 19U}) {
        AINeuralNetworkBufferHIDL tensor;
        const Record before = RecordOf(tensor);
        Record buffer = kRecord;
        EXPECT_EQ(1U, tensor.DeserializeFrom(buffer.data(), size));
        EXPECT_EQ(before, RecordOf(tensor));
        EXPECT_EQ(1U, tensor.SerializeTo(buffer.data(), size));
        EXPECT_EQ(kRecord, buffer);
        // Too short a block to read is no error, too short a one to write is.
        EXPECT_EQ((std::vector<LogLine>{{ANDROID_LOG_INFO, kTag, "DeserializeFrom",
                                         "DeserializeFrom buffer size too small"},
                                        Error("SerializeTo", "SerializeTo buffer size too small")}),
                  log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, FailedCopyEndsTheRecord) {
    for (size_t nth = 1; nth <= 5; ++nth) {
        SCOPED_TRACE(nth);
        AINeuralNetworkBufferHIDL tensor;
        const Record before = RecordOf(tensor);
        {
            const Fault fault(Call::CopyMemory, nth);
            EXPECT_EQ(1U, tensor.DeserializeFrom(kRecord.data(), 20));
        }
        EXPECT_EQ(before, RecordOf(tensor));

        SetRecord(tensor, kRecord);
        Record written = {};
        {
            const Fault fault(Call::CopyMemory, nth);
            EXPECT_EQ(1U, tensor.SerializeTo(written.data(), 20));
        }
        // What was written before stays.
        for (size_t i = 0; i < kRecord.size(); ++i) {
            EXPECT_EQ(i + 1 < nth ? kRecord[i] : 0, written[i]);
        }
        const char* const message = "Call tiro:mmMemCpyS Failed!";
        EXPECT_EQ((std::vector<LogLine>{{ANDROID_LOG_ERROR, "ORVA", "DeserializeFrom", message},
                                        {ANDROID_LOG_ERROR, "ORVA", "SerializeTo", message}}),
                  log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitMakesARegionOfItsSize) {
    AINeuralNetworkBufferHIDL tensor;
    ASSERT_TRUE(tensor.Init(OfSize("5000")));
    EXPECT_EQ(5000, tensor.GetSize());
    ASSERT_NE(nullptr, tensor.GetBuffer());
    const hidl_memory& memory = tensor.memory();
    EXPECT_EQ(5000U, memory.size());
    EXPECT_STREQ("ashmem", memory.name().c_str());
    ASSERT_EQ(1, memory.handle()->numFds);
    EXPECT_EQ(0, memory.handle()->numInts);

    // One region, seen through the mapping and through the descriptor.
    memset(tensor.GetBuffer(), 0x5a, 5000);
    EXPECT_EQ(std::vector<uint8_t>(5000, 0x5a),
              test::ReadRegion<uint8_t>(memory.handle()->data[0], 5001));
    EXPECT_EQ(1U, NewMappings("AshmemAllocator_hidl_orva"));
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitReportsWhereANewRegionFails) {
    const struct {
        const char* what;
        Call call;
        const char* size;
        std::vector<LogLine> lines;
    } cases[] = {
            {"region",
             Call::CreateRegion,
             "4096",
             {Error("Init", "ashmem allocate fail"), Error("Init", "mmap failed")}},
            {"handle", Call::CreateHandle, "4096", {Error("Init", "handle_ is nullptr")}},
            {"empty handle", Call::EmptyHandle, "4096", {Error("Init", "numFds is zero")}},
            {"mapping", Call::Mmap, "4096", {Error("Init", "mmap failed")}},
            {"size 0", Call::CopyMemory, "0", {Error("Init", "mmap failed")}},
            {"bad parameter", Call::CopyMemory, "4096x", {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        AINeuralNetworkBufferHIDL tensor;
        {
            const Fault fault(each.call);
            EXPECT_FALSE(tensor.Init(OfSize(each.size)));
        }
        EXPECT_EQ(each.lines, log_.Take());
        EXPECT_EQ(nullptr, tensor.GetBuffer());
        EXPECT_EQ(nullptr, tensor.memory().handle());
        // A second try starts over; what the first left behind is replaced.
        EXPECT_TRUE(tensor.Init(OfSize("8192")));
        EXPECT_EQ(8192, tensor.GetSize());
        EXPECT_TRUE(log_.Take().empty());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitAgainMapsTheRegionThatIsThere) {
    AINeuralNetworkBufferHIDL tensor;
    ASSERT_TRUE(tensor.Init(OfSize("4096")));
    memset(tensor.GetBuffer(), 0x5a, 4096);
    const size_t regions = CallCount(Call::CreateRegion);
    ASSERT_TRUE(tensor.Init(OfSize("9000")));
    EXPECT_EQ(regions, CallCount(Call::CreateRegion));
    EXPECT_EQ(4096, tensor.GetSize());
    EXPECT_EQ(0x5a, static_cast<uint8_t*>(tensor.GetBuffer())[4095]);
    EXPECT_EQ(1U, NewMappings(""));
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitTakesAReceivedRegion) {
    Region region(5000);
    region.Write<uint8_t>({1, 2, 3});
    AINeuralNetworkBufferHIDL tensor;
    const size_t regions = CallCount(Call::CreateRegion);
    // A part of the region will do; its size replaces the one in the description.
    ASSERT_TRUE(tensor.Receive(region.Memory(4990), hidl_memory()));
    ASSERT_TRUE(tensor.Init(OfSize("77")));
    EXPECT_EQ(regions, CallCount(Call::CreateRegion));
    EXPECT_EQ(4990, tensor.GetSize());
    auto* const bytes = static_cast<uint8_t*>(tensor.GetBuffer());
    EXPECT_EQ(3, bytes[2]);
    bytes[3] = 4;
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), test::ReadRegion<uint8_t>(region.Fd(), 4));

    // The next region takes its place, mapping included.
    Region next(100);
    ASSERT_TRUE(tensor.Receive(next.Memory(100), hidl_memory()));
    ASSERT_TRUE(tensor.Init(AITensorDescription()));
    EXPECT_EQ(100, tensor.GetSize());
    EXPECT_EQ(1U, NewMappings(""));
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, ReceivedSizeShowsItsLowBits) {
    const struct {
        uint64_t region;
        int size;
    } cases[] = {
            {(1ULL << 32) + 4096, 4096},
            {(1ULL << 32), 0},
            {(1ULL << 31) + 5, INT32_MIN + 5},
    };
    for (const auto& each : cases) {
        Region region(each.region);  // has holes only
        AINeuralNetworkBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(region.Memory(each.region), hidl_memory()));
        ASSERT_TRUE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(each.size, tensor.GetSize());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitRefusesWhatIsNoMemoryOfThatSize) {
    int pipeEnds[2];
    ASSERT_EQ(0, pipe2(pipeEnds, O_CLOEXEC));
    const UniqueFd otherEnd(pipeEnds[1]);
    const auto opened = [](const std::string& path, int flags) {
        return UniqueFd(open(path.c_str(), flags | O_CLOEXEC));
    };
    Region page(4096), shorter(4095), none(0), empty(4096);
    empty.Get()->numFds = 0;
    Handle pipe((UniqueFd(pipeEnds[0]))), folder(opened("/", O_RDONLY | O_DIRECTORY)),
            device(opened("/dev/zero", O_RDWR)),
            readOnly(opened("/proc/self/fd/" + std::to_string(page.Fd()), O_RDONLY));
    const struct {
        const char* what;
        Handle* handle;
        uint64_t size;
        Call fault;
    } cases[] = {
            {"nothing of it", &page, 0, Call::CopyMemory},
            {"one byte more", &shorter, 4096, Call::CopyMemory},
            {"a page more", &page, 8192, Call::CopyMemory},
            {"empty region", &none, 1, Call::CopyMemory},
            {"2^32 more", &page, (1ULL << 32) + 4096, Call::CopyMemory},
            {"2^63", &page, 1ULL << 63, Call::CopyMemory},
            {"2^64 - 1", &page, UINT64_MAX, Call::CopyMemory},
            {"pipe", &pipe, 1, Call::CopyMemory},
            {"directory", &folder, 1, Call::CopyMemory},
            {"no memory but mappable", &device, 4096, Call::CopyMemory},
            {"read-only", &readOnly, 4096, Call::CopyMemory},
            {"the kernel says no", &page, 4096, Call::Mmap},
            {"no descriptor", &empty, 4096, Call::CopyMemory},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        AINeuralNetworkBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(each.handle->Memory(each.size), hidl_memory()));
        const Fault fault(each.fault);
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(nullptr, tensor.GetBuffer());
        // Without a descriptor it is refused in silence.
        EXPECT_EQ(each.handle == &empty ? std::vector<LogLine>()
                                        : std::vector<LogLine>{Error("Init", "mmap fail")},
                  log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, ReceiveRefusesWhatCannotBeDuplicated) {
    Region region(4096);
    Region negative(4096);
    negative.Get()->numFds = -1;
    Handle closed((UniqueFd()));
    const LogLine data = Error("Receive", "data descriptor not duplicated");
    const LogLine attributes = Error("Receive", "attribute descriptor not duplicated");
    AINeuralNetworkBufferHIDL tensor;
    for (Handle* bad : {static_cast<Handle*>(&negative), &closed}) {
        EXPECT_FALSE(tensor.Receive(bad->Memory(4096), region.Memory(20)));
        EXPECT_EQ((std::vector<LogLine>{data}), log_.Take());
        EXPECT_FALSE(tensor.Receive(region.Memory(4096), bad->Memory(20)));
        EXPECT_EQ((std::vector<LogLine>{attributes}), log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, AttributeBlockIsReadOnce) {
    Region block(64);
    block.Write<int32_t>({kRecord.begin(), kRecord.end()});
    for (uint64_t size : {20U, 64U}) {
        AINeuralNetworkBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(hidl_memory(), block.Memory(size)));
        const size_t mapped = CallCount(Call::Mmap), unmapped = CallCount(Call::Munmap);
        EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
        EXPECT_EQ(kRecord, RecordOf(tensor));
        EXPECT_EQ(mapped + 1, CallCount(Call::Mmap));
        EXPECT_EQ(unmapped + 1, CallCount(Call::Munmap));
    }
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, BadAttributeBlockLeavesTheFields) {
    Region shorter(4), whole(20), without(20);
    without.Get()->numFds = 0;
    const LogLine mmapFail = Error("DeserializeFromHidlMemory", "mmap fail");
    const LogLine tooSmall = {ANDROID_LOG_INFO, kTag, "DeserializeFrom",
                              "DeserializeFrom buffer size too small"};
    const struct {
        const char* what;
        hidl_memory block;
        std::vector<LogLine> lines;
    } cases[] = {
            {"none", hidl_memory(), {}},
            {"no descriptor", without.Memory(20), {}},
            {"4 bytes", shorter.Memory(4), {tooSmall}},
            {"4 bytes that claim to be 20", shorter.Memory(20), {mmapFail}},
            {"size 0", whole.Memory(0), {mmapFail}},
            {"2^63", whole.Memory(1ULL << 63), {mmapFail}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        AINeuralNetworkBufferHIDL tensor;
        SetRecord(tensor, kRecord);
        ASSERT_TRUE(tensor.Receive(hidl_memory(), each.block));
        EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
        EXPECT_EQ(kRecord, RecordOf(tensor));
        EXPECT_EQ(each.lines, log_.Take());
    }
    AINeuralNetworkBufferHIDL tensor;
    ASSERT_TRUE(tensor.Receive(hidl_memory(), whole.Memory(20)));
    const Fault fault(Call::Mmap);
    EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
    EXPECT_EQ((std::vector<LogLine>{mmapFail}), log_.Take());
}

TEST_F(AINeuralNetworkBufferHIDLTest, SerializeMakesAnAttributeBlock) {
    AINeuralNetworkBufferHIDL tensor;
    SetRecord(tensor, kRecord);
    for (int32_t width : {1, 2}) {
        tensor.SetWidth(width);
        EXPECT_EQ(0, tensor.SerializeToHidlMemory());
        const hidl_memory& block = tensor.serializeMemory();
        EXPECT_EQ(20U, block.size());
        EXPECT_STREQ("ashmem", block.name().c_str());
        ASSERT_EQ(1, block.handle()->numFds);
        EXPECT_EQ((std::vector<int32_t>{1, 224, width, 2, 3}),
                  test::ReadRegion<int32_t>(block.handle()->data[0], 6));
    }
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, SerializeReportsWhereABlockFails) {
    const char* const function = "SerializeToHidlMemory";
    const struct {
        Call call;
        std::vector<LogLine> lines;
    } cases[] = {
            {Call::CreateRegion,
             {Error(function, "ashmem allocate fail"), Error(function, "mmap failed")}},
            {Call::CreateHandle, {Error(function, "serialize_handle_ is nullptr")}},
            {Call::EmptyHandle, {Error(function, "numFds is zero")}},
            {Call::Mmap, {Error(function, "mmap failed")}},
    };
    Region received(20);
    for (const auto& each : cases) {
        const auto fail = [&](AINeuralNetworkBufferHIDL& tensor) {
            const Fault fault(each.call);
            EXPECT_EQ(0, tensor.SerializeToHidlMemory());
            EXPECT_EQ(each.lines, log_.Take());
        };
        // The tensor's own block of before has been closed; a received one stands.
        AINeuralNetworkBufferHIDL own;
        own.SerializeToHidlMemory();
        fail(own);
        EXPECT_EQ(nullptr, own.serializeMemory().handle());
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_NE(nullptr, own.serializeMemory().handle());

        AINeuralNetworkBufferHIDL peers;
        ASSERT_TRUE(peers.Receive(hidl_memory(), received.Memory(20)));
        fail(peers);
        EXPECT_NE(nullptr, peers.serializeMemory().handle());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, UnmapsItsOwnMappingWhateverTheBufferIsSetTo) {
    AINeuralNetworkBufferHIDL tensor;
    ASSERT_TRUE(tensor.Init(OfSize("8192")));
    char elsewhere[16];
    tensor.SetBuffer(elsewhere, sizeof(elsewhere), false);
}

}  // namespace
}  // namespace orva::hidl
