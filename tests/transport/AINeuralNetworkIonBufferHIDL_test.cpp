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
#include <set>
#include <string>
#include <vector>

#include "support/Descriptors.h"
#include "support/IonSeam.h"
#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
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

template <typename T>
std::vector<T> operator+(std::vector<T> left, const std::vector<T>& right) {
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
    const std::pair<const char*, KernelGeneration> cases[] = {
            {"4.9.148", KernelGeneration::Kernel49},      {"4.14.116", KernelGeneration::Kernel414},
            {"4.14.98", KernelGeneration::Kernel49},  // "4.9" stands in it, and is tried first
            {"14.9", KernelGeneration::Kernel49},         {"14.14.1", KernelGeneration::Kernel414},
            {"6.14.16", KernelGeneration::KernelUnknown}, {"", KernelGeneration::KernelUnknown},
    };
    for (const auto& [release, generation] : cases) {
        SCOPED_TRACE(release);
        const Kernel kernel(release);
        EXPECT_EQ(generation, AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion());
        EXPECT_EQ(generation == KernelGeneration::KernelUnknown ? Lines{kUnknownKernel} : Lines(),
                  Log());
    }
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
    const char *const k49 = "4.9.148", *const k414 = "4.14.116";
    const Trace open = {"ion_open"}, asked = {"ion_open", "uname"},
                alloc = asked + Trace{"ion_alloc 4096 0 1 0x100"},
                share = alloc + Trace{"ion_share 1"},
                allocFd = asked + Trace{"ion_alloc_fd 4096 0 1 0x100"},
                sync = allocFd + Trace{"sync 1"}, map = {"mmap 4096"}, closed = {"ion_close"},
                freed = {"uname", "ion_free 1", "ion_close"}, released = {"uname", "ion_close"},
                handle = {"native_handle_close"};
    const struct {
        const char* release;
        Call call;
        const char* message;
        Trace during;
        Trace after;  // when the tensor goes
    } cases[] = {
            {k49, Call::IonOpen, "ion_open fail", open, {}},
            {k49, Call::IonAlloc, "ion_alloc fail", alloc + closed, {}},
            {k49, Call::IonShare, "ion_share fail", share + freed, {}},
            {k49, Call::CreateHandle, "handle_ is nullptr", share + freed, {}},
            {k49, Call::EmptyHandle, "numFds is zero", share + freed, handle},
            {k49, Call::Mmap, "mmap failed", share + map + freed, handle},
            {k414, Call::IonOpen, "ion_open fail", open, {}},
            {k414, Call::IonAllocFd, "ion_alloc fail", allocFd + closed, {}},
            {k414, Call::DmaBufSync, "ion_share fail", sync + released, {}},
            {k414, Call::CreateHandle, "handle_ is nullptr", sync + released, {}},
            {k414, Call::EmptyHandle, "numFds is zero", sync + released, handle},
            {k414, Call::Mmap, "mmap failed", sync + map + released, handle},
            // The kernel is unknown, not told and not asked for.
            {"5.4.0", Call::CopyMemory, "ion_alloc fail", asked + closed, {}},
            {k49, Call::Uname, "ion_alloc fail", asked + closed, {}},
            {k49, Call::ClearMemory, "ion_alloc fail", open + closed, {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.release) + " " + each.message);
        const bool unknown = each.during == asked + closed;
        const std::set<int> before = orva_test::openDescriptors();
        {
            const Kernel kernel(each.release);
            AINeuralNetworkIonBufferHIDL tensor;
            trace_.Take();
            {
                const Fault fault(each.call);
                EXPECT_FALSE(tensor.Init(OfSize("1000")));
            }
            EXPECT_EQ((unknown ? Lines{kUnknownKernel} : Lines()) + Lines{Error(each.message)},
                      Log());
            EXPECT_EQ(each.during, trace_.Take());
            EXPECT_EQ(nullptr, tensor.GetBuffer());
            EXPECT_FALSE(tensor.IsSupportZerocpy());
            EXPECT_EQ(nullptr, tensor.memory().handle());
            ExpectNothingOnTheDevice();
        }
        EXPECT_EQ(each.after, trace_.Take());
        EXPECT_EQ(Lines(), Log());

        // One descriptor is left open on purpose.
        std::set<int> leftOpen = orva_test::openDescriptors();
        for (int descriptor : before) {
            leftOpen.erase(descriptor);
        }
        EXPECT_EQ(each.call == Call::DmaBufSync ? 1U : 0U, leftOpen.size());
        for (int descriptor : leftOpen) {
            close(descriptor);
        }
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, SizeMustBeANumberThatFits) {
    const Kernel kernel("4.9.148");
    const struct {
        const char* size;
        bool result;
        Lines lines;
    } cases[] = {
            {"4096x", false, {}},
            // A tensor's size is signed: these would be negative ones, and no length fits them.
            {"2147483648", false, {Error("ion_alloc fail")}},
            {"4294967295", false, {Error("ion_alloc fail")}},
            {"0", true, {}},
    };
    // The same tensor: after a failed Init comes another try.
    AINeuralNetworkIonBufferHIDL tensor;
    for (const auto& each : cases) {
        EXPECT_EQ(each.result, tensor.Init(OfSize(each.size))) << each.size;
        EXPECT_EQ(each.lines, Log());
    }
    EXPECT_EQ("mmap 4096", trace_.Take().back());
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, ReceivedRegionIsAsLongAsTheRuleAsks) {
    const struct {
        uint64_t size;
        uint64_t length;  // 0: there is none
        int tensorSize;
    } cases[] = {
            {0, 4096, 0},
            {3840, 4096, 3840},
            {3841, 8192, 3841},
            {1ULL << 31, (1ULL << 31) + 4096, INT32_MIN},
            {(1ULL << 32) - 1, (1ULL << 32) + 4096, -1},
            {(1ULL << 32) + 7, (1ULL << 32) + 4096, 7},
            {1ULL << 63, 0, 0},
            {UINT64_MAX - 0x10fe, 0, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.size);
        const std::string length = std::to_string(each.length);
        Region region(each.length), shorter(each.length - (each.length != 0 ? 1 : 0));
        trace_.Take();
        if (each.length != 0) {
            AINeuralNetworkIonBufferHIDL tensor;
            ASSERT_TRUE(tensor.Receive(region.Memory(each.size), hidl_memory()));
            ASSERT_TRUE(tensor.Init(AITensorDescription()));
            EXPECT_EQ(each.tensorSize, tensor.GetSize());
            EXPECT_TRUE(tensor.IsSupportZerocpy());
            static_cast<volatile char*>(tensor.GetBuffer())[each.length - 1] = 'x';
        }
        const Trace whole = {"mmap " + length, "munmap " + length, "native_handle_close"};
        EXPECT_EQ(each.length != 0 ? whole : Trace(), trace_.Take());
        AINeuralNetworkIonBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(shorter.Memory(each.size), hidl_memory()));
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        // Refused before anything is touched, or by the kernel.
        EXPECT_EQ(IonMapLength(each.size) == 0 ? Trace{"mmap 0"} : Trace(), trace_.Take());
        EXPECT_EQ(Lines{Error("mmap fail")}, Log());
        EXPECT_EQ(nullptr, tensor.GetBuffer());
    }
}

TEST_F(AINeuralNetworkIonBufferHIDLTest, ReceivedRegionThatCannotBeMapped) {
    Region region(4096), without(4096);
    without.Get()->numFds = 0;
    for (Region* const each : {&region, &without}) {
        AINeuralNetworkIonBufferHIDL tensor;
        ASSERT_TRUE(tensor.Receive(each->Memory(3840), hidl_memory()));
        const Fault fault(Call::Mmap);
        EXPECT_FALSE(tensor.Init(AITensorDescription()));
        EXPECT_EQ(each == &region ? Lines{Error("mmap fail")} : Lines(), Log());
    }
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

// On known kernels the end of a tensor has shown it.
TEST_F(AINeuralNetworkIonBufferHIDLTest, ReleaseNeedsADeviceButNoKnownKernel) {
    AINeuralNetworkIonBufferHIDL::IonRelease(-1, 1);
    EXPECT_EQ(Lines{Error("Invalid fd!", "IonRelease")}, Log());
    EXPECT_EQ(Trace(), trace_.Take());

    const int device = ion_open();
    trace_.Take();
    const Kernel kernel("5.4.0");
    AINeuralNetworkIonBufferHIDL::IonRelease(device, 1);
    EXPECT_EQ((Trace{"uname", "ion_close"}), trace_.Take());
    EXPECT_EQ(Lines{kUnknownKernel}, Log());
}

}  // namespace
}  // namespace orva::hidl
