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
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include "support/Descriptors.h"

namespace {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using orva_test::openDescriptors;

// A region of a peer's, mapped here.
class Mapped {
public:
    Mapped(int fd, size_t length)
            : mFd(fd),
              mLength(length),
              mAddress(mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)) {}
    ~Mapped() {
        if (isMapped()) {
            munmap(mAddress, mLength);
        }
        close(mFd);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;

    bool isMapped() const { return mAddress != MAP_FAILED; }
    void shrink(size_t length) const { ASSERT_EQ(ftruncate(mFd, static_cast<off_t>(length)), 0); }
    volatile char& operator[](size_t at) const { return static_cast<char*>(mAddress)[at]; }

private:
    const int mFd;
    const size_t mLength;
    void* const mAddress;
};

// Its first half stays; what is behind is replaced at the first touch, and only then.
void expectZerosBehindTheMiddle(const Mapped& region, size_t page, size_t length) {
    const size_t before = orva_platform::shrunkenRegions();
    const size_t middle = length / 2 / page * page;
    region[middle - 1] = 'x';
    region[middle] = 'x';
    region[length - 1] = 'x';
    region.shrink(middle);
    EXPECT_EQ(region[middle + page / 2], 0);
    region[length - 1] = 'y';
    EXPECT_EQ(region[length - 1], 'y');
    EXPECT_EQ(region[middle], 0);
    EXPECT_EQ(region[middle - 1], 'x');
    EXPECT_EQ(orva_platform::shrunkenRegions(), before + 1);
}

TEST(ShrunkenRegions, WhatIsGoneReadsAsZerosAndTheRestStays) {
    constexpr size_t kPage = 4096;
    // Half of it already is; ThreadSanitizer has no room for a terabyte.
    const size_t moreThanThisMachineHas = 3 * kPage * static_cast<size_t>(sysconf(_SC_PHYS_PAGES));
    orva_platform::surviveShrunkenRegions();
    for (const size_t length : {4 * kPage, moreThanThisMachineHas}) {
        const Mapped region(ashmem_create_region("shrinking", length), length);
        ASSERT_TRUE(region.isMapped());
        expectZerosBehindTheMiddle(region, kPage, length);
    }
}

// Each thread has regions of its own, whose mappings come and go; all touch one besides.
TEST(ShrunkenRegions, OfManyThreadsAtATime) {
    constexpr size_t kPage = 4096;
    orva_platform::surviveShrunkenRegions();
    for (int round = 0; round < 20; ++round) {
        const Mapped common(ashmem_create_region("common", 4 * kPage), 4 * kPage);
        common.shrink(0);
        std::atomic<int> sum{0};
        std::vector<std::thread> threads;
        threads.reserve(8);
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int j = 0; j < 20; ++j) {
                    const Mapped own(ashmem_create_region("own", 4 * kPage), 4 * kPage);
                    own.shrink(kPage);
                    sum += own[2 * kPage] + common[kPage];
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(sum, 0);
    }
}

TEST(ShrunkenRegions, OfHugePagesToo) {
    constexpr size_t kPage = size_t{2} << 20;  // on most machines
    orva_platform::surviveShrunkenRegions();
    const int fd = memfd_create("shrinking", MFD_CLOEXEC | MFD_HUGETLB);
    if (fd >= 0) {
        ASSERT_EQ(ftruncate(fd, 4 * kPage), 0);
        const Mapped region(fd, 4 * kPage);
        if (region.isMapped()) {
            expectZerosBehindTheMiddle(region, kPage, 4 * kPage);
            return;
        }
    }
    GTEST_SKIP() << "this machine has no four huge pages to give; see /proc/sys/vm/nr_hugepages";
}

TEST(ShrunkenRegions, InAForkedProcessAsWell) {
    constexpr size_t kPage = 4096;
    orva_platform::surviveShrunkenRegions();
    const pid_t child = fork();
    if (child == 0) {
        // Mapped after the fork, where the parent may have nothing.
        const Mapped region(ashmem_create_region("child", 4 * kPage), 4 * kPage);
        region.shrink(0);
        _exit(region[kPage]);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
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

TEST(HidlString, ComparesAsFarAsTheFirstNul) {
    const std::string text("echo\0other", 10);
    const hidl_string whole(text);
    const hidl_string cut("echo");
    ASSERT_EQ(10U, whole.size());
    EXPECT_TRUE(whole == "echo" && "echo" == whole && whole == cut && cut == text);
    EXPECT_FALSE(whole != cut || whole < cut || "echo" < whole);
    EXPECT_TRUE(whole != "ech" && whole < "echoes");
}

}  // namespace
