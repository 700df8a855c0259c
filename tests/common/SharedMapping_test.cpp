/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/SharedMapping.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include "common/ClientProcess.h"
#include "support/CallingProcess.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace orva::hidl {
namespace {

using test::Handle;
using test::Region;

SharedMapping Map(Handle& region, uint64_t length) {
    return SharedMapping::MapReceived(region.Get(), length);
}

using SharedMappings = test::ResourceTest;

TEST_F(SharedMappings, ReachTheEndOfTheRegionsLastPage) {
    const struct {
        uint64_t size, length;
        bool fits;
    } cases[] = {
            {1000, 1000, true},  {1000, 4096, true}, {1000, 4097, false},
            {4096, 4097, false}, {4097, 8192, true}, {8191, 8193, false},
            {0, 1, false},       {4096, 0, false},   {4096, UINT64_MAX, false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.length << " of " << each.size);
        Region region(each.size);
        const SharedMapping mapping = Map(region, each.length);
        ASSERT_EQ(each.fits, static_cast<bool>(mapping));
        if (mapping) {
            EXPECT_EQ(each.length, mapping.Length());
            static_cast<volatile char*>(mapping.Address())[each.length - 1] = 'x';
        }
    }
}

// What is no memory, though some of it could be mapped, and reports a size.
TEST_F(SharedMappings, AreOfMemoryOnly) {
    char name[] = "/tmp/orva_region_XXXXXX";
    Handle file{UniqueFd(mkostemp(name, O_CLOEXEC))};
    ASSERT_EQ(0, unlink(name));
    ASSERT_EQ(0, ftruncate(file.Fd(), 4096));
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    Handle in{UniqueFd(ends[0])}, out{UniqueFd(ends[1])},
            channel{UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))},
            event{UniqueFd(eventfd(0, EFD_CLOEXEC))}, poll{UniqueFd(epoll_create1(EPOLL_CLOEXEC))},
            device{UniqueFd(open("/dev/zero", O_RDWR | O_CLOEXEC))},
            folder{UniqueFd(open("/tmp", O_DIRECTORY | O_CLOEXEC))},
            path{UniqueFd(open("/dev/zero", O_PATH | O_CLOEXEC))}, closed{UniqueFd(-1)};
    const uint64_t before = refusedRegions.noMemory + refusedRegions.tooShort;
    std::vector<Handle*> handles = {&file, &in,     &out,    &channel, &event,
                                    &poll, &device, &folder, &path,    &closed};
    for (Handle* const each : handles) {
        EXPECT_FALSE(Map(*each, 1)) << each - handles[0];
    }
    EXPECT_EQ(before + handles.size(), refusedRegions.noMemory + refusedRegions.tooShort);
    EXPECT_FALSE(SharedMapping::MapReceived(nullptr, 1));
    Region empty(4096);
    empty.Get()->numFds = 0;
    EXPECT_FALSE(Map(empty, 1));
}

// Whoever touches a hollow region first pays for it: a client's are bounded, at a time and
// together.
TEST_F(SharedMappings, MayBeHollowUpToAClientsBound) {
    constexpr uint64_t kMost = ClientProcess::kMostHollow;
    Region hollow(kMost + 4096), full(4096);
    full.Write(std::vector<char>(4096));
    const uint64_t before = refusedRegions.clientHollow;
    EXPECT_FALSE(Map(hollow, kMost + 4096));
    SharedMapping first = Map(hollow, kMost - 4096);
    ASSERT_TRUE(first);
    {
        // What the kernel refuses is not counted.
        const test::Fault fault(test::Call::Mmap);
        EXPECT_FALSE(Map(hollow, 4096));
    }
    EXPECT_FALSE(Map(hollow, 8192));
    EXPECT_EQ(before + 2, refusedRegions.clientHollow);
    // What holds its bytes costs nothing, and another client has its own bound.
    EXPECT_TRUE(Map(full, 4096));
    {
        const test::CallsFrom other(1);
        EXPECT_TRUE(Map(hollow, kMost));
    }
    // Moved, it still counts once; gone, no more.
    const SharedMapping moved = std::move(first);
    EXPECT_FALSE(Map(hollow, 8192));
    EXPECT_TRUE(Map(hollow, 4096));
    first = Map(hollow, 4096);
    first.Reset();
    EXPECT_TRUE(Map(hollow, 4096));
}

}  // namespace
}  // namespace orva::hidl
