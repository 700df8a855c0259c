/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Memory that cannot be had, or is taken away.
#include <cutils/ashmem.h>
#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>
#include <orva_platform/SharedMemory.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "support/Descriptors.h"

namespace {

using android::hardware::hidl_handle;
using orva_test::openDescriptors;

TEST(ShrunkenRegions, WhatIsGoneReadsAsZerosAndTheRestStays) {
    constexpr size_t kPage = 4096;
    orva_platform::surviveShrunkenRegions();
    const size_t before = orva_platform::shrunkenRegions();
    const int fd = ashmem_create_region("shrinking", 4 * kPage);
    auto* bytes = static_cast<volatile char*>(
            mmap(nullptr, 4 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    std::fill_n(bytes, 4 * kPage, 'x');
    ASSERT_EQ(ftruncate(fd, kPage), 0);
    EXPECT_EQ(bytes[2 * kPage], 0);
    bytes[3 * kPage] = 'y';  // Not a second fault: all behind the first one was replaced.
    EXPECT_EQ(bytes[3 * kPage], 'y');
    EXPECT_EQ(bytes[kPage - 1], 'x');
    EXPECT_EQ(orva_platform::shrunkenRegions(), before + 1);
    munmap(const_cast<char*>(bytes), 4 * kPage);
    close(fd);
}

TEST(ShrunkenRegionsDeathTest, WhatIsNotSharedStillEndsTheProcess) {
    const auto touch = [] {
        orva_platform::surviveShrunkenRegions();
        const int file = fileno(tmpfile());
        exit(*static_cast<volatile char*>(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, file, 0)));
    };
    EXPECT_EXIT(
            touch(), [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != 0; }, "");
}

TEST(HidlHandle, ACopyWithoutDescriptorsLeftIsNullAndLeaksNothing) {
    native_handle_t* const native = native_handle_create(2, 0);
    native->data[0] = dup(STDERR_FILENO);
    native->data[1] = dup(STDERR_FILENO);
    hidl_handle handle;
    handle.setTo(native, true);
    const std::set<int> open = openDescriptors();
    // Room for one more: the second duplicate is the one that fails.
    const int next = dup(STDERR_FILENO);
    close(next);
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    const rlimit lowered = {static_cast<rlim_t>(next) + 1, limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &lowered));
    const hidl_handle copy = handle;  // NOLINT(performance-unnecessary-copy-initialization)
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    EXPECT_EQ(nullptr, copy.getNativeHandle());
    EXPECT_EQ(open, openDescriptors());
}

}  // namespace
