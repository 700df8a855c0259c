/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <ion/ion.h>
#include <orva_platform/Ion.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/dma-heap.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "platform/ion/src/Backend.h"
#include "support/Descriptors.h"

namespace {

using orva_platform::ionCounts;
using orva_platform::ion::DmaHeapBackend;
using orva_platform::ion::unique_fd;
using orva_test::isCloseOnExec;
using orva_test::isOpen;
using orva_test::openDescriptors;

// Stands in for a heap of the kernel: what it was asked, and what it answers.
struct Heap {
    int device = -1;
    dma_heap_allocation_data request = {};
    int error = 0;
} heap;

}  // namespace

// In place of the C library's, for libion as well.
extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (fd != heap.device || request != DMA_HEAP_IOCTL_ALLOC) {
        return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
    }
    auto* const allocation = static_cast<dma_heap_allocation_data*>(argument);
    heap.request = *allocation;
    if (heap.error != 0) {
        errno = heap.error;
        return -1;
    }
    allocation->fd = static_cast<uint32_t>(memfd_create("dma-buf", MFD_CLOEXEC));
    return 0;
}

namespace {

constexpr size_t kPage = 4096;
constexpr unsigned int kHeap = 1;
constexpr unsigned int kFlags = 0x100;

class IonTest : public testing::Test {
protected:
    void SetUp() override {
        mBefore = openDescriptors();
        mDevice = ion_open();
        ASSERT_GE(mDevice, 0);
    }
    void TearDown() override {
        if (isOpen(mDevice)) {
            EXPECT_EQ(ion_close(mDevice), 0);
        }
        EXPECT_EQ(openDescriptors(), mBefore);
        EXPECT_EQ(ionCounts().clients, 0U);
        EXPECT_EQ(ionCounts().handles, 0U);
    }

    std::set<int> mBefore;
    int mDevice = -1;
};

TEST_F(IonTest, BufferIsZeroedMemoryInWholePages) {
    int descriptor = -1;
    ASSERT_EQ(ion_alloc_fd(mDevice, kPage + 1, 0, kHeap, kFlags, &descriptor), 0);
    const unique_fd buffer(descriptor);
    EXPECT_TRUE(isCloseOnExec(buffer.get()));
    std::vector<char> bytes(3 * kPage, 'x');
    EXPECT_EQ(pread(buffer.get(), bytes.data(), bytes.size(), 0), ssize_t{2 * kPage});
    bytes.resize(2 * kPage);
    EXPECT_EQ(bytes, std::vector<char>(2 * kPage));
    EXPECT_NE(ftruncate(buffer.get(), 0), 0) << "it keeps its size, whoever holds it";
}

TEST_F(IonTest, UserHandlesAreCheckedCountedAndFreed) {
    ion_user_handle_t first = 0, second = 0;
    ASSERT_EQ(ion_alloc(mDevice, kPage, 0, kHeap, kFlags, &first), 0);
    ASSERT_EQ(ion_alloc(mDevice, kPage, kPage, 3, 0, &second), 0);
    EXPECT_NE(first, second);
    EXPECT_EQ(ionCounts().handles, 2U);

    // Two descriptors of the one buffer; they outlive the handle.
    int one = -1, two = -1;
    ASSERT_EQ(ion_share(mDevice, first, &one), 0);
    ASSERT_EQ(ion_share(mDevice, first, &two), 0);
    const unique_fd left(one), right(two);
    EXPECT_EQ(ion_free(mDevice, first), 0);
    ASSERT_EQ(pwrite(one, "x", 1, 5), 1);
    char read = 0;
    EXPECT_EQ(pread(two, &read, 1, 5), 1);
    EXPECT_EQ(read, 'x');

    // Freed, never given, and another client's.
    const int other = ion_open();
    ASSERT_GE(other, 0);
    for (const auto& [device, handle] : {std::pair(mDevice, first), std::pair(mDevice, 0),
                                         std::pair(mDevice, -1), std::pair(other, second)}) {
        int buffer = -1;
        EXPECT_EQ(ion_share(device, handle, &buffer), -EINVAL);
        EXPECT_EQ(ion_free(device, handle), -EINVAL);
        EXPECT_EQ(buffer, -1);
    }
    EXPECT_EQ(ion_close(other), 0);
    // What is left of a client goes with it; see TearDown.
    EXPECT_EQ(ionCounts().handles, 1U);
}

TEST_F(IonTest, RefusesWhatCannotBe) {
    const struct {
        size_t length;
        size_t align;
        unsigned int mask;
        int result;
    } cases[] = {
            {0, 0, kHeap, -EINVAL},
            {SIZE_MAX, 0, kHeap, -EINVAL},
            {kPage, 2 * kPage, kHeap, -EINVAL},
            {kPage, 0, ~1U, -ENODEV},
            {SIZE_MAX - kPage, 0, kHeap, -ENOMEM},
    };
    for (const auto& each : cases) {
        int buffer = -1;
        ion_user_handle_t handle = -1;
        EXPECT_EQ(ion_alloc_fd(mDevice, each.length, each.align, each.mask, 0, &buffer),
                  each.result);
        EXPECT_EQ(ion_alloc(mDevice, each.length, each.align, each.mask, 0, &handle), each.result);
        EXPECT_EQ(buffer, -1) << each.length;
    }
}

TEST_F(IonTest, OnlyAnOpenDeviceWillDo) {
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    // One that was closed without libion's knowing does not come back to life.
    const int closed = ion_open();
    ion_user_handle_t handle = 0;
    ASSERT_EQ(ion_alloc(closed, kPage, 0, kHeap, 0, &handle), 0);
    close(closed);
    int buffer = -1;
    for (const auto& [device, result] :
         {std::pair(null.get(), -ENOTTY), std::pair(closed, -EBADF), std::pair(-1, -EBADF)}) {
        EXPECT_EQ(ion_alloc(device, kPage, 0, kHeap, 0, &handle), result);
        EXPECT_EQ(ion_share(device, handle, &buffer), result);
        EXPECT_EQ(ion_free(device, handle), result);
    }
    const int next = ion_open();
    ASSERT_EQ(next, closed);
    EXPECT_EQ(ionCounts().handles, 0U);
    EXPECT_EQ(ion_close(next), 0);
}

TEST(DmaHeapBackend, AsksTheKernelsHeapIfItIsThere) {
    const DmaHeapBackend backend("/dev/null");
    const unique_fd device = backend.openClient();
    unique_fd buffer;
    EXPECT_EQ(backend.allocate(device.get(), 3 * kPage, &buffer), -ENOTTY);

    heap.device = device.get();
    ASSERT_EQ(backend.allocate(device.get(), 3 * kPage, &buffer), 0);
    EXPECT_EQ(heap.request.len, 3 * kPage);
    EXPECT_EQ(heap.request.fd_flags, static_cast<uint32_t>(O_RDWR | O_CLOEXEC));
    EXPECT_TRUE(isOpen(buffer.get()));

    heap.error = ENOMEM;
    EXPECT_EQ(backend.allocate(device.get(), kPage, &buffer), -ENOMEM);
    heap = {};
    EXPECT_LT(DmaHeapBackend("/dev/no such heap").openClient().get(), 0);
}

}  // namespace
