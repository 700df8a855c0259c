/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ion/ion.h>
#include <orva_platform/Ion.h>
#include <unistd.h>

#include <cerrno>
#include <tuple>

#include "platform/ion/src/Backend.h"
#include "support/Descriptors.h"

namespace {

using orva_platform::ionCounts;
using orva_platform::ion::DmaHeapBackend;
using orva_platform::ion::unique_fd;
using orva_test::isCloseOnExec;
using orva_test::openDescriptors;

constexpr size_t kPage = 4096;
constexpr unsigned int kHeap = 1;

class IonTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(ion_close(mDevice), 0);
        EXPECT_EQ(openDescriptors(), mBefore);
        EXPECT_EQ(ionCounts().clients, 0U);
        EXPECT_EQ(ionCounts().handles, 0U);
    }

    const std::set<int> mBefore = openDescriptors();
    const int mDevice = ion_open();
};

TEST_F(IonTest, UserHandlesAreTheirClientsUntilTheyAreFreed) {
    ion_user_handle_t first = 0, second = 0;
    ASSERT_EQ(ion_alloc(mDevice, kPage, 0, kHeap, 0, &first), 0);
    ASSERT_EQ(ion_alloc(mDevice, kPage, kPage, kHeap, 0, &second), 0);
    EXPECT_EQ(ionCounts().handles, 2U);
    // Two descriptors of the one buffer; they outlive the handle.
    int one = -1, two = -1;
    ASSERT_EQ(ion_share(mDevice, first, &one), 0);
    ASSERT_EQ(ion_share(mDevice, first, &two), 0);
    const unique_fd left(one), right(two);
    EXPECT_EQ(ion_free(mDevice, first), 0);
    char byte = 0;
    EXPECT_EQ(pwrite(one, "x", 1, 5), 1);
    EXPECT_EQ(pread(two, &byte, 1, 5), 1);
    EXPECT_EQ(byte, 'x');
    EXPECT_TRUE(isCloseOnExec(one));
    EXPECT_NE(ftruncate(one, 0), 0) << "it keeps its size, whoever holds it";

    // A client that was closed without libion's knowing, whose number another may get.
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const int closed = ion_open(), other = ion_open();
    ion_user_handle_t lost = 0;
    ASSERT_EQ(ion_alloc(closed, kPage, 0, kHeap, 0, &lost), 0);
    close(closed);
    const std::tuple<int, ion_user_handle_t, int> cases[] = {
            {mDevice, first, -EINVAL},    {mDevice, 0, -EINVAL},  {mDevice, -1, -EINVAL},
            {other, second, -EINVAL},     {closed, lost, -EBADF}, {-1, second, -EBADF},
            {null.get(), second, -ENOTTY}};
    for (const auto& [client, handle, result] : cases) {
        int buffer = -1;
        EXPECT_EQ(ion_share(client, handle, &buffer), result);
        EXPECT_EQ(ion_free(client, handle), result);
        EXPECT_EQ(buffer, -1);
    }
    const int next = ion_open();
    ASSERT_EQ(next, closed);
    // What is left of the first client goes with it; see TearDown.
    EXPECT_EQ(ionCounts().handles, 1U) << "nothing comes back to life";
    EXPECT_EQ(ion_close(next), 0);
    EXPECT_EQ(ion_close(other), 0);
}

TEST_F(IonTest, RefusesWhatCannotBe) {
    using Case = std::tuple<size_t, size_t, unsigned int, int>;
    for (const auto& [length, align, mask, result] :
         {Case{0, 0, kHeap, -EINVAL}, Case{SIZE_MAX, 0, kHeap, -EINVAL},
          Case{kPage, 2 * kPage, kHeap, -EINVAL}, Case{kPage, 0, ~1U, -ENODEV},
          Case{SIZE_MAX - kPage, 0, kHeap, -ENOMEM}}) {
        int given = -1;
        EXPECT_EQ(ion_alloc_fd(mDevice, length, align, mask, 0, &given), result);
        EXPECT_EQ(ion_alloc(mDevice, length, align, mask, 0, &given), result);
        EXPECT_EQ(given, -1) << length;
    }
}

TEST(DmaHeapBackend, SaysWhatTheKernelSays) {
    EXPECT_LT(DmaHeapBackend("/dev/no such heap").openClient().get(), 0);
    const DmaHeapBackend backend("/dev/null");
    const unique_fd client = backend.openClient();
    unique_fd buffer;
    EXPECT_EQ(backend.allocate(client.get(), kPage, &buffer), -ENOTTY);
}

}  // namespace
