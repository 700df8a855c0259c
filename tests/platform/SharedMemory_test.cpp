/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cutils/ashmem.h>
#include <gtest/gtest.h>
#include <orva_platform/SharedMemory.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "support/Descriptors.h"

namespace {

constexpr size_t kPage = 4096;

TEST(Ashmem, RegionIsAMemoryFileThatCanBeMadeReadOnly) {
    const int fd = ashmem_create_region("constant", kPage + 20);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ashmem_get_size_region(fd), static_cast<int>(kPage + 20));
    EXPECT_TRUE(orva_test::isCloseOnExec(fd));
    EXPECT_EQ(ashmem_set_prot_region(fd, PROT_READ), 0);
    EXPECT_EQ(mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0), MAP_FAILED);
    void* readable = mmap(nullptr, kPage, PROT_READ, MAP_SHARED, fd, 0);
    EXPECT_NE(readable, MAP_FAILED);
    munmap(readable, kPage);
    close(fd);
}

TEST(Ashmem, WhatCannotBeIsRefusedWithoutADescriptorLeftOver) {
    const std::set<int> before = orva_test::openDescriptors();
    EXPECT_LT(ashmem_create_region("too large", size_t{1} << 63), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(before, orva_test::openDescriptors());
    EXPECT_LT(ashmem_get_size_region(STDIN_FILENO), 0) << "only memory files are regions";
}

TEST(ShrunkenRegions, WhatIsGoneReadsAsZerosAndTheRestStays) {
    orva_platform::surviveShrunkenRegions();
    const size_t before = orva_platform::shrunkenRegions();
    const int fd = ashmem_create_region("shrinking", 4 * kPage);
    auto* bytes = static_cast<volatile char*>(
            mmap(nullptr, 4 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    ASSERT_NE(bytes, MAP_FAILED);
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

TEST(ShrunkenRegionsDeathTest, AnyOtherFileStillEndsTheProcess) {
    EXPECT_EXIT(
            {
                orva_platform::surviveShrunkenRegions();
                FILE* file = tmpfile();
                auto* bytes = static_cast<volatile char*>(
                        mmap(nullptr, kPage, PROT_READ, MAP_SHARED, fileno(file), 0));
                exit(bytes[0]);
            },
            [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != 0; }, "");
}

}  // namespace
