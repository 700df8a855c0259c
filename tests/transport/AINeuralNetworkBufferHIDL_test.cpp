/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/AINeuralNetworkBufferHIDL.h"

#include <fcntl.h>
#include <gtest/gtest.h>

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
using test::LogLine;
using test::Region;
using Lines = std::vector<LogLine>;

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
const LogLine kTooSmall = {ANDROID_LOG_INFO, kTag, "DeserializeFrom",
                           "DeserializeFrom buffer size too small"};

AITensorDescription OfSize(const std::string& size) {
    AITensorDescription description;
    description.add_para("size", size);
    return description;
}

class AINeuralNetworkBufferHIDLTest : public test::ResourceTest {
protected:
    test::LogCapture log_;
};

TEST_F(AINeuralNetworkBufferHIDLTest, RecordIsFiveIntegersInOrder) {
    AINeuralNetworkBufferHIDL tensor, other;
    SetRecord(tensor, kRecord);
    EXPECT_EQ(20U, tensor.GetSerializeSize());
    std::array<int32_t, 6> buffer = {0, 0, 0, 0, 0, -7};
    EXPECT_EQ(0U, tensor.SerializeTo(buffer.data(), 20));
    EXPECT_EQ((std::array<int32_t, 6>{1, 224, 225, 2, 3, -7}), buffer);
    EXPECT_EQ(0U, other.DeserializeFrom(buffer.data(), 24));
    EXPECT_EQ(kRecord, RecordOf(other));
    EXPECT_TRUE(log_.Take().empty());

    // Too short a block to read is no error, too short a one to write is.
    EXPECT_EQ(1U, other.DeserializeFrom(Record{}.data(), 19));
    EXPECT_EQ(kRecord, RecordOf(other));
    EXPECT_EQ(1U, other.SerializeTo(buffer.data(), 19));
    EXPECT_EQ((Lines{kTooSmall, Error("SerializeTo", "SerializeTo buffer size too small")}),
              log_.Take());
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
        const Fault fault(Call::CopyMemory, nth);
        EXPECT_EQ(1U, tensor.SerializeTo(written.data(), 20));
        // What was written before stays.
        for (size_t i = 0; i < kRecord.size(); ++i) {
            EXPECT_EQ(i + 1 < nth ? kRecord[i] : 0, written[i]);
        }
        const char* const message = "Call tiro:mmMemCpyS Failed!";
        EXPECT_EQ((Lines{{ANDROID_LOG_ERROR, "ORVA", "DeserializeFrom", message},
                         {ANDROID_LOG_ERROR, "ORVA", "SerializeTo", message}}),
                  log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitMakesARegionOfItsSize) {
    AINeuralNetworkBufferHIDL tensor;
    ASSERT_TRUE(tensor.Init(OfSize("5000")));
    EXPECT_EQ(5000, tensor.GetSize());
    const hidl_memory& memory = tensor.memory();
    EXPECT_EQ(5000U, memory.size());
    EXPECT_STREQ("ashmem", memory.name().c_str());
    ASSERT_EQ(1, memory.handle()->numFds);
    EXPECT_EQ(0, memory.handle()->numInts);
    // One region, seen through the mapping and through the descriptor.
    memset(tensor.GetBuffer(), 0x5a, 5000);
    EXPECT_EQ(std::vector<uint8_t>(5000, 0x5a),
              test::ReadRegion<uint8_t>(memory.handle()->data[0], 5001));
    EXPECT_NE(std::string::npos,
              test::Resources::OfThisProcess().mappings.back().find("AshmemAllocator_hidl_orva"));

    // Again: the region that is there is mapped anew.
    const size_t regions = CallCount(Call::CreateRegion);
    ASSERT_TRUE(tensor.Init(OfSize("9000")));
    EXPECT_EQ(regions, CallCount(Call::CreateRegion));
    EXPECT_EQ(5000, tensor.GetSize());
    EXPECT_EQ(0x5a, static_cast<uint8_t*>(tensor.GetBuffer())[4999]);
    // What the buffer is set to is not what is unmapped in the end.
    char elsewhere[16];
    tensor.SetBuffer(elsewhere, sizeof(elsewhere), false);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitReportsWhereANewRegionFails) {
    const LogLine unmapped = Error("Init", "mmap failed");
    const struct {
        const char* what;
        Call call;
        const char* size;
        Lines lines;
    } cases[] = {
            {"region", Call::CreateRegion, "4", {Error("Init", "ashmem allocate fail"), unmapped}},
            {"handle", Call::CreateHandle, "4", {Error("Init", "handle_ is nullptr")}},
            {"empty handle", Call::EmptyHandle, "4", {Error("Init", "numFds is zero")}},
            {"mapping", Call::Mmap, "4", {unmapped}},
            {"size 0", Call::CopyMemory, "0", {unmapped}},
            {"bad parameter", Call::CopyMemory, "4x", {}},
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
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitTakesAReceivedRegion) {
    constexpr uint64_t k4GiB = 1ULL << 32;
    const struct {
        uint64_t region;
        uint64_t size;
        int tensorSize;
    } cases[] = {
            // A part of the region will do.
            {5000, 4990, 4990},
            // A tensor's size shows the low bits, signed.
            {k4GiB + 4096, k4GiB + 4096, 4096},
            {k4GiB / 2 + 5, k4GiB / 2 + 5, INT32_MIN + 5},
    };
    // Each takes the place of the one before, mapping included.
    AINeuralNetworkBufferHIDL tensor;
    const size_t regions = CallCount(Call::CreateRegion);
    for (const auto& each : cases) {
        SCOPED_TRACE(each.size);
        Region region(each.region);  // has holes only
        region.Write<uint8_t>({1, 2, 3});
        const size_t mapped = CallCount(Call::Mmap) - CallCount(Call::Munmap);
        ASSERT_TRUE(tensor.Receive(region.Memory(each.size), hidl_memory()));
        // Its size replaces the one in the description.
        ASSERT_TRUE(tensor.Init(OfSize("77")));
        EXPECT_EQ(each.region == 5000 ? mapped + 1 : mapped,
                  CallCount(Call::Mmap) - CallCount(Call::Munmap));
        EXPECT_EQ(each.tensorSize, tensor.GetSize());
        auto* const bytes = static_cast<uint8_t*>(tensor.GetBuffer());
        EXPECT_EQ(3, bytes[2]);
        bytes[3] = 4;
        EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), test::ReadRegion<uint8_t>(region.Fd(), 4));
    }
    EXPECT_EQ(regions, CallCount(Call::CreateRegion));
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(AINeuralNetworkBufferHIDLTest, InitRefusesWhatIsNoMemoryOfThatSize) {
    const auto opened = [](const std::string& path, int flags) {
        return UniqueFd(open(path.c_str(), flags | O_CLOEXEC));
    };
    int pipeEnds[2];
    ASSERT_EQ(0, pipe2(pipeEnds, O_CLOEXEC));
    const UniqueFd otherEnd(pipeEnds[1]);
    Region page(4096), shorter(4095), none(0), empty(4096);
    empty.Get()->numFds = 0;
    Handle pipe((UniqueFd(pipeEnds[0]))), folder(opened("/", O_RDONLY | O_DIRECTORY)),
            device(opened("/dev/zero", O_RDWR)),
            readOnly(opened("/proc/self/fd/" + std::to_string(page.Fd()), O_RDONLY));
    const struct {
        const char* what;
        Handle* handle;
        uint64_t size;
    } cases[] = {
            {"the kernel says no", &page, 4096},
            {"nothing of it", &page, 0},
            {"one byte more", &shorter, 4096},
            {"empty region", &none, 1},
            {"2^32 more", &page, (1ULL << 32) + 4096},
            {"2^63", &page, 1ULL << 63},
            {"2^64 - 1", &page, UINT64_MAX},
            {"pipe", &pipe, 1},
            {"directory", &folder, 1},
            {"no memory but mappable", &device, 4096},
            {"read-only", &readOnly, 4096},
            {"no descriptor", &empty, 4096},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        AINeuralNetworkBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(each.handle->Memory(each.size), hidl_memory()));
        const Fault fault(&each == cases ? Call::Mmap : Call::CopyMemory);
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(nullptr, tensor.GetBuffer());
        // Without a descriptor it is refused in silence.
        EXPECT_EQ(each.handle == &empty ? Lines() : Lines{Error("Init", "mmap fail")}, log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, ReceiveRefusesWhatCannotBeDuplicated) {
    Region region(4096), negative(4096);
    negative.Get()->numFds = -1;
    Handle closed((UniqueFd()));
    AINeuralNetworkBufferHIDL tensor;
    for (Handle* bad : {static_cast<Handle*>(&negative), &closed}) {
        EXPECT_FALSE(tensor.Receive(bad->Memory(4096), region.Memory(20)));
        EXPECT_FALSE(tensor.Receive(region.Memory(4096), bad->Memory(20)));
        EXPECT_EQ((Lines{Error("Receive", "data descriptor not duplicated"),
                         Error("Receive", "attribute descriptor not duplicated")}),
                  log_.Take());
    }
}

TEST_F(AINeuralNetworkBufferHIDLTest, AttributeBlockIsReadOnceOrLeavesTheFields) {
    Region whole(64), shorter(4), without(20);
    whole.Write<int32_t>({kRecord.begin(), kRecord.end()});
    without.Get()->numFds = 0;
    const Lines unmapped = {Error("DeserializeFromHidlMemory", "mmap fail")};
    const Record before = {9, 8, 7, 6, 5};
    const struct {
        const char* what;
        hidl_memory block;
        Record after;
        Lines lines;
    } cases[] = {
            {"20 bytes", whole.Memory(20), kRecord, {}},
            {"64 bytes", whole.Memory(64), kRecord, {}},
            {"none", hidl_memory(), before, {}},
            {"no descriptor", without.Memory(20), before, {}},
            {"4 bytes", shorter.Memory(4), before, {kTooSmall}},
            {"4 bytes that claim to be 20", shorter.Memory(20), before, unmapped},
            {"2^63", whole.Memory(1ULL << 63), before, unmapped},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        AINeuralNetworkBufferHIDL tensor;
        SetRecord(tensor, before);
        ASSERT_TRUE(tensor.Receive(hidl_memory(), each.block));
        const size_t mapped = CallCount(Call::Mmap) - CallCount(Call::Munmap);
        EXPECT_EQ(0, tensor.DeserializeFromHidlMemory());
        // What failed without the kernel's having been asked is no mapping.
        EXPECT_EQ(mapped, CallCount(Call::Mmap) - CallCount(Call::Munmap));
        EXPECT_EQ(each.after, RecordOf(tensor));
        EXPECT_EQ(each.lines, log_.Take());
    }
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
    const auto error = [](const char* message) { return Error("SerializeToHidlMemory", message); };
    const std::pair<Call, Lines> cases[] = {
            {Call::CreateRegion, {error("ashmem allocate fail"), error("mmap failed")}},
            {Call::CreateHandle, {error("serialize_handle_ is nullptr")}},
            {Call::EmptyHandle, {error("numFds is zero")}},
            {Call::Mmap, {error("mmap failed")}},
    };
    Region received(20);
    for (const auto& [call, lines] : cases) {
        // The tensor's own block of before is closed; a received one stands.
        AINeuralNetworkBufferHIDL own, peers;
        own.SerializeToHidlMemory();
        ASSERT_TRUE(peers.Receive(hidl_memory(), received.Memory(20)));
        for (AINeuralNetworkBufferHIDL* const tensor : {&own, &peers}) {
            const Fault fault(call);
            EXPECT_EQ(0, tensor->SerializeToHidlMemory());
            EXPECT_EQ(lines, log_.Take());
            EXPECT_EQ(tensor == &own, tensor->serializeMemory().handle() == nullptr);
        }
        EXPECT_EQ(0, own.SerializeToHidlMemory());
        EXPECT_NE(nullptr, own.serializeMemory().handle());
    }
}

}  // namespace
}  // namespace orva::hidl
