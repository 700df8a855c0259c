/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/HidlSupport.h>

#include <sys/resource.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <gtest/gtest.h>

#include "support/Descriptors.h"

namespace {

using android::base::unique_fd;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using orva_test::isCloseOnExec;
using orva_test::isOpen;
using orva_test::openDescriptors;

TEST(HidlString, OnlyRefersToExternalText) {
    char external[] = "outside";
    hidl_string text;
    text.setToExternal(external, strlen(external));
    const hidl_string copy = text;
    const hidl_string moved = std::move(text);
    external[0] = 'X';
    EXPECT_EQ("outside", copy);
    EXPECT_EQ("Xutside", moved);
}

class HidlHandle : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(mOpenBefore, openDescriptors()); }

    // Of two descriptors that a child process would inherit, and one integer.
    static hidl_handle makeOwned() {
        native_handle_t* native = native_handle_create(2, 1);
        native->data[0] = dup(STDERR_FILENO);
        native->data[1] = dup(STDERR_FILENO);
        native->data[2] = 42;
        hidl_handle handle;
        handle.setTo(native, true);
        return handle;
    }
    size_t opened() const { return openDescriptors().size() - mOpenBefore.size(); }

    const std::set<int> mOpenBefore = openDescriptors();
};

TEST_F(HidlHandle, ACopyHasItsOwnDescriptorsCloseOnExec) {
    const hidl_memory memory("ashmem", makeOwned(), 4096);
    const hidl_memory copy = memory;  // NOLINT(performance-unnecessary-copy-initialization)
    ASSERT_NE(nullptr, copy.handle());
    EXPECT_EQ(42, copy.handle()->data[2]);
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(memory.handle()->data[i], copy.handle()->data[i]);
        EXPECT_FALSE(isCloseOnExec(memory.handle()->data[i]));
        EXPECT_TRUE(isCloseOnExec(copy.handle()->data[i]));
    }
    EXPECT_EQ(4u, opened());
}

TEST_F(HidlHandle, AMoveTakesTheDescriptorsAlong) {
    hidl_handle handle = makeOwned();
    const native_handle_t* native = handle;
    hidl_handle moved = std::move(handle);
    EXPECT_EQ(native, moved.getNativeHandle());
    EXPECT_EQ(2u, opened());
    moved = makeOwned();  // What it held is closed.
    EXPECT_EQ(2u, opened());
}

TEST_F(HidlHandle, ABorrowedHandleStaysTheLenders) {
    const hidl_handle lender = makeOwned();
    {
        hidl_handle assigned = makeOwned();
        assigned = lender.getNativeHandle();
        const hidl_handle moved = std::move(assigned);
        const hidl_memory memory("ashmem", lender.getNativeHandle(), 4096);
    }
    EXPECT_TRUE(isOpen(lender->data[0]) && isOpen(lender->data[1]));
}

TEST_F(HidlHandle, ACopyWithoutDescriptorsLeftIsNullAndLeaksNothing) {
    const hidl_handle handle = makeOwned();
    const std::set<int> open = openDescriptors();
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    // Room for one more: the second duplicate is the one that fails.
    std::vector<unique_fd> fillers;
    while (fillers.empty() || fillers.back() < *open.rbegin()) {
        fillers.emplace_back(dup(STDERR_FILENO));
    }
    const rlimit lowered = {static_cast<rlim_t>(fillers.back() + 2), limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &lowered));
    const hidl_handle copy = handle;  // NOLINT(performance-unnecessary-copy-initialization)
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    fillers.clear();
    EXPECT_EQ(nullptr, copy.getNativeHandle());
    EXPECT_EQ(open, openDescriptors());
}

}  // namespace
