/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// The memory of both tensors, the ION one's on every kernel: made, received and given back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orva_platform/Ion.h>
#include <sys/socket.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <set>
#include <vector>

#include "support/Descriptors.h"
#include "transport/AINeuralNetworkIonBufferHIDL.h"
#include "transport/IonMapLength.h"
#include "transport/TensorTest.h"

namespace orva::hidl {
namespace {

using Tensor = std::unique_ptr<AINeuralNetworkBufferHIDL>;

template <typename Type>
Tensor Make() {
    return std::make_unique<Type>();
}

struct Kind {
    const char* name;
    const char* tag;
    const char* release;  // the kernel's; null for the host's own
    Tensor (*make)();
    bool isIon;
    // What a tensor of 5000 bytes asks of the platform to have them, and at its end.
    std::string begin, end;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

const Kind kShared = {"SharedMemory",
                      "AINeuralNetworkBufferHIDL",
                      nullptr,
                      Make<AINeuralNetworkBufferHIDL>,
                      false,
                      "ashmem_create_region AshmemAllocator_hidl_orva 5000\nmmap 5000\n",
                      "munmap 5000\nnative_handle_close\n"};

Kind Ion(const char* name, const char* release, const std::string& begin, const std::string& end) {
    return {name,
            "AINeuralNetworkIonBufferHIDL",
            release,
            Make<AINeuralNetworkIonBufferHIDL>,
            true,
            "ion_open\nuname\n" + begin + "mmap 8192\n",
            "munmap 8192\nnative_handle_close\nuname\n" + end + "ion_close\n"};
}
const Kind kIon49 =
        Ion("IonOfKernel49", "4.9.148", "ion_alloc 8192 0 1 256\nion_share 1\n", "ion_free 1\n");
const Kind kIon414 = Ion("IonOfKernel414", "4.14.116", "ion_alloc_fd 8192 0 1 256\nsync 1\n", "");
// "4.9" stands in it, and is looked for first.
const Kind kIonMixed = Ion("IonOfKernel41498", "4.14.98", "", "");
const Kind kIonUnknown = Ion("IonOfOtherKernels", "6.14.16", "", "");

void ExpectNothingOnTheDevice() {
    EXPECT_EQ(0U, orva_platform::ionCounts().clients);
    EXPECT_EQ(0U, orva_platform::ionCounts().handles);
}

class TensorMemory : public TensorTest, public testing::WithParamInterface<Kind> {
protected:
    void TearDown() override {
        ExpectNothingOnTheDevice();
        TensorTest::TearDown();
    }

    Tensor MakeTensor() const { return GetParam().make(); }
    std::string Told() { return Story(GetParam().tag); }

private:
    const test::Kernel kernel_{GetParam().release};
};

TEST_P(TensorMemory, IsMadeInTheTensorsSize) {
    {
        const Tensor tensor = MakeTensor();
        ASSERT_TRUE(tensor->Init(OfSize("5000")));
        EXPECT_EQ(GetParam().begin, Told());
        EXPECT_EQ(5000, tensor->GetSize());
        EXPECT_EQ(GetParam().isIon, tensor->IsSupportZerocpy());
        EXPECT_EQ(5000U, tensor->memory().size());
        EXPECT_STREQ("ashmem", tensor->memory().name().c_str());
        const native_handle_t* const handle = tensor->memory().handle();
        ASSERT_EQ(1, handle->numFds);
        EXPECT_TRUE(orva_test::isCloseOnExec(handle->data[0]));
        // One memory, seen through the mapping and through the descriptor, to its last byte.
        const size_t length = GetParam().isIon ? 8192 : 5000;
        memset(tensor->GetBuffer(), 0x5a, length);
        EXPECT_EQ(std::vector<uint8_t>(length, 0x5a),
                  test::ReadRegion<uint8_t>(handle->data[0], length + 1));

        // What the buffer is set to is not what is unmapped in the end.
        char elsewhere[16];
        tensor->SetBuffer(elsewhere, sizeof(elsewhere), false);
    }
    EXPECT_EQ(GetParam().end, Told());
}

TEST_P(TensorMemory, GivesWayToTheNext) {
    Region region(4096);
    const Tensor tensor = MakeTensor();
    {
        const Fault fault(Call::Mmap);
        EXPECT_FALSE(tensor->Init(OfSize("1000")));
    }
    ASSERT_TRUE(tensor->Init(OfSize("1000")));
    {
        // What a failed one has taken away is not there any more.
        const Fault fault(Call::Mmap);
        EXPECT_FALSE(tensor->Init(OfSize("1000")));
        EXPECT_EQ(nullptr, tensor->memory().handle());
    }
    ASSERT_TRUE(tensor->Init(OfSize("1000")));
    // A new one takes its place, also after a peer's empty one; the device is not opened twice.
    for (const bool received : {false, true}) {
        memset(tensor->GetBuffer(), 0x5a, 1000);
        Told();
        if (received) {
            tensor->Receive(hidl_memory(), hidl_memory());
        }
        ASSERT_TRUE(tensor->Init(OfSize("2000")));
        const std::string told = Told();
        EXPECT_LT(told.find("native_handle_close\n"), told.find("\nmmap ")) << told;
        EXPECT_EQ(0, *static_cast<const char*>(tensor->GetBuffer()));
        EXPECT_GE(1U, orva_platform::ionCounts().clients);
    }
    // The size that comes with a received one is the tensor's.
    tensor->Receive(region.Memory(3000), hidl_memory());
    ASSERT_TRUE(tensor->Init(OfSize("77")));
    EXPECT_EQ(3000, tensor->GetSize());
}

TEST_P(TensorMemory, IsReceivedWhereItIsLongEnough) {
    constexpr uint64_t k4GiB = uint64_t{1} << 32, k2To63 = uint64_t{1} << 63;
    // The size, and 256 bytes in whole pages as ION tensors have it.
    const std::pair<uint64_t, uint64_t> cases[] = {
            {0, 4096},
            {3840, 4096},
            {3841, 8192},
            {k4GiB / 2, k4GiB / 2 + 4096},
            {k4GiB - 1, k4GiB + 4096},
            {k4GiB + 7, k4GiB + 4096},
            {k2To63, k2To63 + 4096},
            // The last that fits, and from there on none.
            {UINT64_MAX - 0x10ff, UINT64_MAX - 0xfff},
            {UINT64_MAX - 0x10fe, 0},
            {UINT64_MAX, 0},
    };
    const test::FullRegions noneIsHollow;
    for (const auto& [size, ionLength] : cases) {
        EXPECT_EQ(ionLength, IonMapLength(size));
        const uint64_t length = GetParam().isIon ? ionLength : size;
        const bool canBe = length > 0 && length < k2To63;
        const uint64_t pagesBefore = canBe ? (length - 1) / 4096 * 4096 : 0;
        // To its last byte, or to some byte of its last page, which is there as a whole.
        Region region(canBe ? length : 4096), within(pagesBefore + 1), shorter(pagesBefore);
        for (Region* const each : {&region, &within, &shorter}) {
            const bool fits = canBe && each != &shorter;
            SCOPED_TRACE(std::to_string(size) + (fits ? " fits" : " does not fit"));
            const Tensor tensor = MakeTensor();
            tensor->Receive(each->Memory(size), hidl_memory());
            Told();
            EXPECT_EQ(fits, tensor->Init(AITensorDescription()));
            const std::string mapped = "mmap " + std::to_string(length) + "\n";
            const std::string failed = "E Init: mmap fail\n";
            EXPECT_EQ(fits ? mapped : length == 0 ? mapped + failed : failed, Told());
            ASSERT_EQ(fits, tensor->GetBuffer() != nullptr);
            if (fits) {
                // A tensor's size shows the low bits, signed.
                EXPECT_EQ(static_cast<int>(size), tensor->GetSize());
                EXPECT_EQ(GetParam().isIon, tensor->IsSupportZerocpy());
                static_cast<volatile char*>(tensor->GetBuffer())[length - 1] = 'x';
            }
        }
    }
}

TEST_P(TensorMemory, IsNoOtherDescriptor) {
    Region page(4096), empty(4096);
    empty.Get()->numFds = 0;
    const std::string pages = "/proc/self/fd/" + std::to_string(page.Fd());
    test::Handle channel(UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))),
            device(UniqueFd(open("/dev/zero", O_RDWR | O_CLOEXEC))),
            readOnly(UniqueFd(open(pages.c_str(), O_RDONLY | O_CLOEXEC)));
    // The kernel says no to the first, and the last has no descriptor, which is refused in silence.
    for (test::Handle* const handle :
         std::initializer_list<test::Handle*>{&page, &channel, &device, &readOnly, &empty}) {
        const Tensor tensor = MakeTensor();
        tensor->Receive(handle->Memory(100), hidl_memory());
        Told();
        const Fault fault(handle == &page ? Call::Mmap : Call::None);
        EXPECT_FALSE(tensor->Init(AITensorDescription()));
        const std::string told = Told();
        EXPECT_EQ(handle != &empty, told.find("E Init: mmap fail\n") != std::string::npos) << told;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, TensorMemory, testing::Values(kShared, kIon49, kIon414),
                         [](const auto& kind) { return kind.param.name; });

using NewTensorMemory = TensorTest;

TEST_F(NewTensorMemory, LeavesNothingWhereItFails) {
    const std::string region = "ashmem_create_region AshmemAllocator_hidl_orva ",
                      opened = "ion_open\n", asked = "ion_open\nuname\n",
                      alloc = asked + "ion_alloc 4096 0 1 256\n", share = alloc + "ion_share 1\n",
                      allocFd = asked + "ion_alloc_fd 4096 0 1 256\n", sync = allocFd + "sync 1\n",
                      freed = "uname\nion_free 1\nion_close\n", released = "uname\nion_close\n",
                      closed = "ion_close\n", handle = "native_handle_close\n",
                      unknown = "W GetLinuxKernelVersion: get kernel version failed!\n",
                      noHandle = "E Init: handle_ is nullptr\n", empty = "E Init: numFds is zero\n",
                      unmapped = "E Init: mmap failed\n", notAllocated = "E Init: ion_alloc fail\n",
                      notShared = "E Init: ion_share fail\n";
    const struct {
        const Kind& kind;
        Call call;
        const char* size;
        std::string story;
        std::string end;  // of the tensor
    } cases[] = {
            {kShared, Call::CreateRegion, "4",
             region + "4\nE Init: ashmem allocate fail\nmmap 4\n" + unmapped, handle},
            {kShared, Call::CreateHandle, "4", region + "4\n" + noHandle, ""},
            {kShared, Call::EmptyHandle, "4", region + "4\n" + empty, handle},
            {kShared, Call::Mmap, "4", region + "4\nmmap 4\n" + unmapped, handle},
            {kShared, Call::None, "0", region + "0\nmmap 0\n" + unmapped, handle},
            {kShared, Call::None, "4x", "", ""},
            {kIon49, Call::IonOpen, "1000", opened + "E Init: ion_open fail\n", ""},
            {kIon49, Call::IonAlloc, "1000", alloc + closed + notAllocated, ""},
            {kIon49, Call::IonShare, "1000", share + freed + notShared, ""},
            {kIonMixed, Call::IonShare, "1000", share + freed + notShared, ""},
            {kIon49, Call::CreateHandle, "1000", share + freed + noHandle, ""},
            {kIon49, Call::EmptyHandle, "1000", share + freed + empty, handle},
            {kIon49, Call::Mmap, "1000", share + "mmap 4096\n" + freed + unmapped, handle},
            {kIon49, Call::Uname, "1000", asked + unknown + closed + notAllocated, ""},
            {kIon49, Call::ClearMemory, "1000", opened + closed + notAllocated, ""},
            {kIon49, Call::None, "4096x", "", ""},
            // A tensor's size is signed: this is a negative one, and no length fits it.
            {kIon49, Call::None, "2147483648",
             asked + "ion_alloc 18446744071562072064 0 1 256\n" + closed + notAllocated, ""},
            {kIon414, Call::IonAllocFd, "1000", allocFd + closed + notAllocated, ""},
            {kIon414, Call::DmaBufSync, "1000", sync + released + notShared, ""},
            {kIon414, Call::Mmap, "1000", sync + "mmap 4096\n" + released + unmapped, handle},
            {kIonUnknown, Call::None, "1000", asked + unknown + closed + notAllocated, ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.kind.name << " " << each.size << "\n"
                                        << each.story);
        const test::Kernel kernel(each.kind.release);
        const std::set<int> before = orva_test::openDescriptors();
        {
            const Tensor tensor = each.kind.make();
            const Fault fault(each.call);
            EXPECT_FALSE(tensor->Init(OfSize(each.size)));
            EXPECT_EQ(each.story, Story(each.kind.tag));
            EXPECT_EQ(nullptr, tensor->GetBuffer());
            EXPECT_FALSE(tensor->IsSupportZerocpy());
            EXPECT_EQ(nullptr, tensor->memory().handle());
            ExpectNothingOnTheDevice();
        }
        EXPECT_EQ(each.end, Story(each.kind.tag));
        // A buffer that could not be synchronised is left open on purpose.
        size_t leftOpen = 0;
        for (const int descriptor : orva_test::openDescriptors()) {
            const UniqueFd closing(before.count(descriptor) != 0 ? -1 : descriptor);
            leftOpen += closing.Get() >= 0 ? 1 : 0;
        }
        EXPECT_EQ(each.call == Call::DmaBufSync ? 1U : 0U, leftOpen);
    }
}

// With a device the end of a tensor has shown it.
TEST_F(NewTensorMemory, ReleaseNeedsADevice) {
    AINeuralNetworkIonBufferHIDL::IonRelease(-1, 1);
    EXPECT_EQ("E IonRelease: Invalid fd!\n", Story(kIon49.tag));
}

}  // namespace
}  // namespace orva::hidl
