/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/AINeuralNetworkIonBufferHIDL.h"

#include <gtest/gtest.h>
#include <ion/ion.h>
#include <orva_platform/Ion.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/Descriptors.h"
#include "support/IonSeam.h"
#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/IonMapLength.h"

namespace orva::hidl {
namespace {

using android::hardware::hidl_memory;
using test::Call;
using test::Fault;
using test::Kernel;
using test::LogLine;
using test::Region;
using Lines = std::vector<LogLine>;
using Trace = std::vector<std::string>;

constexpr char kTag[] = "AINeuralNetworkIonBufferHIDL";

LogLine Error(const char* message, const char* function = "Init") {
    return {ANDROID_LOG_ERROR, kTag, function, message};
}

const LogLine kUnknownKernel = {ANDROID_LOG_WARN, kTag, "GetLinuxKernelVersion",
                                "get kernel version failed!"};

AITensorDescription OfSize(const std::string& size) {
    AITensorDescription description;
    description.add_para("size", size);
    return description;
}

Trace operator+(Trace left, const Trace& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class AINeuralNetworkIonBufferHIDLTest : public test::ResourceTest {
protected:
    void TearDown() override {
        ExpectNothingOnTheDevice();
        ResourceTest::TearDown();
    }

    static void ExpectNothingOnTheDevice() {
        const orva_platform::IonCounts counts = orva_platform::ionCounts();
        EXPECT_EQ(0U, counts.clients);
        EXPECT_EQ(0U, counts.handles);
    }

    // What the product has logged since the last call.
    Lines Log() {
        Lines lines;
        for (LogLine& line : log_.Take()) {
            if (line.tag != "ion") {  // the platform's
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }

    test::CallTrace trace_;

private:
    test::LogCapture log_;
};

TEST(IonMapLength, IsTheSizeAnd256BytesInWholePages) {
    const struct {
        uint64_t size;
        uint64_t length;
    } cases[] = {
            {0, 4096},
            {1, 4096},
            {1000, 4096},
            {3840, 4096},
            {3841, 8192},
            {4096, 8192},
            {1ULL << 31, (1ULL << 31) + 4096},
            {(1ULL << 32) - 1, (1ULL << 32) + 4096},
            {1ULL << 63, (1ULL << 63) + 4096},
            // The last that fits, and from there on none.
            {UINT64_MAX - 0x10ff, UINT64_MAX - 0xfff},
            {UINT64_MAX - 0x10fe, 0},
            {UINT64_MAX - 0xfff, 0},
            {UINT64_MAX, 0},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.length, IonMapLength(each.size)) << each.size;
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, KernelGenerationIsFoundAnywhereInTheRelease) {
    const struct {
        const char* release;
        KernelGeneration generation;
    } cases[] = {
            {"4.9.148", KernelGeneration::Kernel49},
            {"4.14.116", KernelGeneration::Kernel414},
            {"4.14.98", KernelGeneration::Kernel49},  // "4.9" stands in it, and is tried first
            {"4.14.116-4.9", KernelGeneration::Kernel49},
            {"14.9", KernelGeneration::Kernel49},
            {"6.14.16", KernelGeneration::KernelUnknown},
            {"14.14.1", KernelGeneration::Kernel414},
            {"4.19.113", KernelGeneration::KernelUnknown},
            {"5.4.0", KernelGeneration::KernelUnknown},
            {"4-14", KernelGeneration::KernelUnknown},
            {"", KernelGeneration::KernelUnknown},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.release);
        const Kernel kernel(each.release);
        EXPECT_EQ(each.generation, AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion());
        EXPECT_EQ(each.generation == KernelGeneration::KernelUnknown ? Lines{kUnknownKernel}
                                                                     : Lines(),
                  Log());
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, KernelThatCannotBeAskedIsUnknown) {
    const Kernel kernel("4.9.148");
    {
        const Fault fault(Call::Uname);
        EXPECT_EQ(KernelGeneration::KernelUnknown,
                  AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion());
    }
    EXPECT_EQ(Lines{kUnknownKernel}, Log());
    trace_.Take();
    const Fault fault(Call::ClearMemory);
    EXPECT_EQ(KernelGeneration::KernelUnknown,
              AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion());
    EXPECT_EQ(Lines(), Log());
    EXPECT_EQ(Trace(), trace_.Take());
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, NewBufferByTheKernelsGeneration) {
    const struct {
        const char* release;
        Trace allocation;
        Trace end;
        size_t handles;
    } cases[] = {
            {"4.9.148",
             {"ion_open", "uname", "ion_alloc 8192 0 1 0x100", "ion_share 1", "mmap 8192"},
             {"munmap 8192", "native_handle_close", "uname", "ion_free 1", "ion_close"},
             1},
            {"4.14.116",
             {"ion_open", "uname", "ion_alloc_fd 8192 0 1 0x100", "sync 1", "mmap 8192"},
             {"munmap 8192", "native_handle_close", "uname", "ion_close"},
             0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.release);
        const Kernel kernel(each.release);
        {
            AINeuralNetworkIonBufferHIDL tensor;
            EXPECT_FALSE(tensor.IsSupportZerocpy());
            ASSERT_TRUE(tensor.Init(OfSize("3841")));
            EXPECT_EQ(each.allocation, trace_.Take());
            EXPECT_EQ(1U, orva_platform::ionCounts().clients);
            EXPECT_EQ(each.handles, orva_platform::ionCounts().handles);

            EXPECT_EQ(3841, tensor.GetSize());
            EXPECT_TRUE(tensor.IsSupportZerocpy());
            EXPECT_STREQ("AINeuralNetworkIonBuffer", tensor.GetTypeName());
            EXPECT_EQ(20U, tensor.GetSerializeSize());
            EXPECT_EQ(3841U, tensor.memory().size());
            EXPECT_STREQ("ashmem", tensor.memory().name().c_str());
            const native_handle_t* const handle = tensor.memory().handle();
            ASSERT_EQ(1, handle->numFds);
            EXPECT_EQ(0, handle->numInts);
            EXPECT_TRUE(orva_test::isCloseOnExec(handle->data[0]));
            // One buffer, seen through the mapping and through the descriptor, to its last byte.
            memset(tensor.GetBuffer(), 0x5a, 8192);
            EXPECT_EQ(std::vector<uint8_t>(8192, 0x5a),
                      test::ReadRegion<uint8_t>(handle->data[0], 8193));
        }
        EXPECT_EQ(each.end, trace_.Take());
        EXPECT_EQ(Lines(), Log());
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, NewBufferReportsWhereItFails) {
    const char* const k49 = "4.9.148";
    const char* const k414 = "4.14.116";
    const Trace open = {"ion_open"};
    const Trace alloc = {"ion_open", "uname", "ion_alloc 4096 0 1 0x100"};
    const Trace share = alloc + Trace{"ion_share 1"};
    const Trace allocFd = {"ion_open", "uname", "ion_alloc_fd 4096 0 1 0x100"};
    const Trace sync = allocFd + Trace{"sync 1"};
    const Trace map = {"mmap 4096"};
    const Trace closeDevice = {"ion_close"};
    const Trace release49 = {"uname", "ion_free 1", "ion_close"};
    const Trace release414 = {"uname", "ion_close"};
    const Trace handle = {"native_handle_close"};
    const struct {
        const char* what;
        const char* release;
        Call call;
        Lines lines;
        Trace during;
        Trace after;  // when the tensor goes
        size_t leftOpen;
    } cases[] = {
            {"4.9 open", k49, Call::IonOpen, {Error("ion_open fail")}, open, {}, 0},
            {"4.9 alloc",
             k49,
             Call::IonAlloc,
             {Error("ion_alloc fail")},
             alloc + closeDevice,
             {},
             0},
            {"4.9 share", k49, Call::IonShare, {Error("ion_share fail")}, share + release49, {}, 0},
            {"4.9 handle",
             k49,
             Call::CreateHandle,
             {Error("handle_ is nullptr")},
             share + release49,
             {},
             0},
            {"4.9 empty handle",
             k49,
             Call::EmptyHandle,
             {Error("numFds is zero")},
             share + release49,
             handle,
             0},
            {"4.9 map",
             k49,
             Call::Mmap,
             {Error("mmap failed")},
             share + map + release49,
             handle,
             0},
            {"4.14 open", k414, Call::IonOpen, {Error("ion_open fail")}, open, {}, 0},
            {"4.14 alloc",
             k414,
             Call::IonAllocFd,
             {Error("ion_alloc fail")},
             allocFd + closeDevice,
             {},
             0},
            // The one descriptor that is left open on purpose.
            {"4.14 sync",
             k414,
             Call::DmaBufSync,
             {Error("ion_share fail")},
             sync + release414,
             {},
             1},
            {"4.14 handle",
             k414,
             Call::CreateHandle,
             {Error("handle_ is nullptr")},
             sync + release414,
             {},
             0},
            {"4.14 empty handle",
             k414,
             Call::EmptyHandle,
             {Error("numFds is zero")},
             sync + release414,
             handle,
             0},
            {"4.14 map",
             k414,
             Call::Mmap,
             {Error("mmap failed")},
             sync + map + release414,
             handle,
             0},
            {"unknown kernel",
             "5.4.0",
             Call::CopyMemory,
             {kUnknownKernel, Error("ion_alloc fail")},
             {"ion_open", "uname", "ion_close"},
             {},
             0},
            {"kernel not told",
             k49,
             Call::Uname,
             {kUnknownKernel, Error("ion_alloc fail")},
             {"ion_open", "uname", "ion_close"},
             {},
             0},
            {"kernel not asked",
             k49,
             Call::ClearMemory,
             {Error("ion_alloc fail")},
             {"ion_open", "ion_close"},
             {},
             0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const std::set<int> before = orva_test::openDescriptors();
        {
            const Kernel kernel(each.release);
            AINeuralNetworkIonBufferHIDL tensor;
            trace_.Take();
            {
                const Fault fault(each.call);
                EXPECT_FALSE(tensor.Init(OfSize("1000")));
            }
            EXPECT_EQ(each.lines, Log());
            EXPECT_EQ(each.during, trace_.Take());
            EXPECT_EQ(nullptr, tensor.GetBuffer());
            EXPECT_FALSE(tensor.IsSupportZerocpy());
            EXPECT_EQ(nullptr, tensor.memory().handle());
            ExpectNothingOnTheDevice();
        }
        EXPECT_EQ(each.after, trace_.Take());
        EXPECT_EQ(Lines(), Log());

        std::set<int> leftOpen = orva_test::openDescriptors();
        for (int descriptor : before) {
            leftOpen.erase(descriptor);
        }
        EXPECT_EQ(each.leftOpen, leftOpen.size());
        for (int descriptor : leftOpen) {
            close(descriptor);
        }
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, BadParameterTouchesNothing) {
    AINeuralNetworkIonBufferHIDL tensor;
    EXPECT_FALSE(tensor.Init(OfSize("4096x")));
    EXPECT_EQ(Trace(), trace_.Take());
    EXPECT_EQ(Lines(), Log());
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, FailedInitCanBeTriedAgain) {
    const struct {
        const char* release;
        Call call;
    } cases[] = {
            {"4.9.148", Call::IonOpen},
            {"4.9.148", Call::IonShare},
            {"4.9.148", Call::Mmap},
            {"4.14.116", Call::Mmap},
    };
    for (const auto& each : cases) {
        const Kernel kernel(each.release);
        AINeuralNetworkIonBufferHIDL tensor;
        {
            const Fault fault(each.call);
            EXPECT_FALSE(tensor.Init(OfSize("1000")));
        }
        EXPECT_TRUE(tensor.Init(OfSize("5000")));
        EXPECT_EQ(5000, tensor.GetSize());
        EXPECT_EQ(1U, orva_platform::ionCounts().clients);
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, NewBufferOfAnySize) {
    const Kernel kernel("4.9.148");
    for (const char* size : {"0", "1", "3840", "3841", "4096", "10000000"}) {
        SCOPED_TRACE(size);
        const std::string length = std::to_string(IonMapLength(std::stoull(size)));
        {
            AINeuralNetworkIonBufferHIDL tensor;
            ASSERT_TRUE(tensor.Init(OfSize(size)));
            EXPECT_EQ(size, std::to_string(tensor.GetSize()));
            EXPECT_EQ(size, std::to_string(tensor.memory().size()));
        }
        const Trace trace = trace_.Take();
        EXPECT_EQ("ion_alloc " + length + " 0 1 0x100", trace.at(2));
        EXPECT_EQ("mmap " + length, trace.at(4));
        EXPECT_EQ("munmap " + length, trace.at(5));
    }
    // A tensor's size is signed: these would be negative ones, and no length fits them.
    for (const char* size : {"2147483648", "4294967295"}) {
        AINeuralNetworkIonBufferHIDL tensor;
        EXPECT_FALSE(tensor.Init(OfSize(size)));
        EXPECT_EQ(Lines{Error("ion_alloc fail")}, Log());
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, ReceivedRegionIsAsLongAsTheRuleAsks) {
    const struct {
        uint64_t size;
        uint64_t length;
        int tensorSize;
    } cases[] = {
            {0, 4096, 0},
            {1, 4096, 1},
            {3840, 4096, 3840},
            {3841, 8192, 3841},
            {4096, 8192, 4096},
            {1ULL << 31, (1ULL << 31) + 4096, INT32_MIN},
            {(1ULL << 32) - 1, (1ULL << 32) + 4096, -1},
            {(1ULL << 32) + 7, (1ULL << 32) + 4096, 7},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.size);
        const std::string length = std::to_string(each.length);
        Region region(each.length);  // has holes only
        Region shorter(each.length - 1);
        trace_.Take();
        {
            AINeuralNetworkIonBufferHIDL tensor;
            ASSERT_TRUE(tensor.Receive(region.Memory(each.size), hidl_memory()));
            ASSERT_TRUE(tensor.Init(AITensorDescription()));
            EXPECT_EQ(each.tensorSize, tensor.GetSize());
            EXPECT_TRUE(tensor.IsSupportZerocpy());
            static_cast<volatile char*>(tensor.GetBuffer())[each.length - 1] = 'x';
            EXPECT_EQ((Trace{"mmap " + length}), trace_.Take());
        }
        EXPECT_EQ((Trace{"munmap " + length, "native_handle_close"}), trace_.Take());
        EXPECT_EQ(Lines(), Log());
        {
            AINeuralNetworkIonBufferHIDL tensor;
            ASSERT_TRUE(tensor.Receive(shorter.Memory(each.size), hidl_memory()));
            EXPECT_FALSE(tensor.Init(AITensorDescription()));
            EXPECT_EQ(Trace(), trace_.Take());
            EXPECT_EQ(Lines{Error("mmap fail")}, Log());
            EXPECT_EQ(nullptr, tensor.GetBuffer());
        }
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, ReceivedRegionThatCannotBeMapped) {
    for (uint64_t size : {uint64_t{1} << 63, UINT64_MAX - 0x10ff, UINT64_MAX - 0x10fe,
                          UINT64_MAX - 0xfff, UINT64_MAX}) {
        SCOPED_TRACE(size);
        Region region(1 << 20);
        AINeuralNetworkIonBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(region.Memory(size), hidl_memory()));
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(Lines{Error("mmap fail")}, Log());
        EXPECT_EQ(nullptr, tensor.GetBuffer());
    }
    Region region(4096);
    {
        AINeuralNetworkIonBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(region.Memory(3840), hidl_memory()));
        const Fault fault(Call::Mmap);
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(Lines{Error("mmap fail")}, Log());
    }
    region.Get()->numFds = 0;
    AINeuralNetworkIonBufferHIDL tensor;
    ASSERT_TRUE(tensor.Receive(region.Memory(3840), hidl_memory()));
    EXPECT_FALSE(tensor.Init(AITensorDescription()));
    EXPECT_EQ(Lines(), Log());
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, OwnBufferGivesWayToTheNext) {
    const Kernel kernel("4.9.148");
    Region region(4096);
    AINeuralNetworkIonBufferHIDL tensor;
    ASSERT_TRUE(tensor.Init(OfSize("1000")));
    trace_.Take();
    // Again: the buffer that is there is mapped anew.
    ASSERT_TRUE(tensor.Init(OfSize("5000")));
    EXPECT_EQ(1000, tensor.GetSize());
    EXPECT_EQ((Trace{"mmap 4096", "munmap 4096"}), trace_.Take());
    // A peer's empty memory makes way for a new buffer; the device is not opened twice.
    ASSERT_TRUE(tensor.Receive(hidl_memory(), hidl_memory()));
    ASSERT_TRUE(tensor.Init(OfSize("2000")));
    EXPECT_EQ(1U, orva_platform::ionCounts().clients);
    EXPECT_EQ(1U, orva_platform::ionCounts().handles);
    ASSERT_TRUE(tensor.Receive(region.Memory(3000), hidl_memory()));
    ASSERT_TRUE(tensor.Init(AITensorDescription()));
    EXPECT_EQ(3000, tensor.GetSize());
    EXPECT_EQ(Lines(), Log());
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, CrossesTheBoundaryAsAHandle) {
    const Kernel kernel("4.14.116");
    const std::shared_ptr<IAITensor> sender = std::make_shared<AINeuralNetworkIonBufferHIDL>();
    auto& sent = static_cast<AINeuralNetworkIonBufferHIDL&>(*sender);
    sent.SetHeight(17);
    ASSERT_TRUE(sent.Init(OfSize("3900")));
    static_cast<char*>(sent.GetBuffer())[3899] = 'x';
    AITensorHandle handle{};
    ASSERT_EQ(0U, SerializeBufferTensor(handle, sender));
    EXPECT_STREQ("AINeuralNetworkIonBuffer", handle.type.c_str());

    std::shared_ptr<IAITensor> receiver = std::make_shared<AINeuralNetworkIonBufferHIDL>();
    ASSERT_EQ(0U, DeserializeBufferTensor(receiver, handle));
    auto& received = static_cast<AINeuralNetworkIonBufferHIDL&>(*receiver);
    EXPECT_EQ(17, received.GetHeight());
    EXPECT_EQ(3900, received.GetSize());
    EXPECT_EQ('x', static_cast<char*>(received.GetBuffer())[3899]);
    EXPECT_EQ(1U, orva_platform::ionCounts().clients);  // the sender's
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, ReleaseByTheKernelsGeneration) {
    AINeuralNetworkIonBufferHIDL::IonRelease(-1, 1);
    EXPECT_EQ(Lines{Error("Invalid fd!", "IonRelease")}, Log());
    EXPECT_EQ(Trace(), trace_.Take());

    const struct {
        const char* release;
        Trace trace;
        Lines lines;
    } cases[] = {
            {"4.9.148", {"uname", "ion_free 1", "ion_close"}, {}},
            {"4.14.116", {"uname", "ion_close"}, {}},
            {"5.4.0", {"uname", "ion_close"}, {kUnknownKernel}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.release);
        const int device = ion_open();
        ion_user_handle_t handle = 0;
        ASSERT_EQ(0, ion_alloc(device, 4096, 0, 1, 0, &handle));
        trace_.Take();
        const Kernel kernel(each.release);
        AINeuralNetworkIonBufferHIDL::IonRelease(device, static_cast<uint32_t>(handle));
        EXPECT_EQ(each.trace, trace_.Take());
        EXPECT_EQ(each.lines, Log());
        ExpectNothingOnTheDevice();
    }
}

// Nothing stands in for anything here: no desk has the kernel of a device.
TEST_F(AINeuralNetworkIonBufferHIDLTest, HostsOwnKernelIsUnknown) {
    if (AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion() != KernelGeneration::KernelUnknown) {
        GTEST_SKIP() << "this host's release is named like a device's";
    }
    Log();
    AINeuralNetworkIonBufferHIDL tensor;
    EXPECT_FALSE(tensor.Init(OfSize("1000")));
    EXPECT_EQ((Lines{kUnknownKernel, Error("ion_alloc fail")}), Log());
}

}  // namespace
}  // namespace orva::hidl
