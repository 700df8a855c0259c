/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Memory that cannot be had, or is taken away.
#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>
#include <orva_platform/SharedMemory.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "support/Descriptors.h"

namespace {

using android::hardware::hidl_handle;
using orva_test::openDescriptors;

// That the process survives shrunken regions shows where clients shrink them.
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
