/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/HidlSupport.h>

#include <sys/resource.h>
#include <unistd.h>

#include <android/hidl/base/1.0/types.h>
#include <gtest/gtest.h>

#include "support/Descriptors.h"

namespace {

using android::hardware::hidl_array;
using android::hardware::hidl_enum_range;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::toString;
using orva_test::isCloseOnExec;
using orva_test::isOpen;
using orva_test::openDescriptors;

TEST(HidlString, HoldsWhatItIsGiven) {
    const struct {
        hidl_string made;
        std::string expected;
    } cases[] = {
            {hidl_string(), ""},
            {hidl_string(static_cast<const char*>(nullptr)), ""},
            {"text", "text"},
            {std::string("text"), "text"},
            {hidl_string("a\0b", 3), std::string("a\0b", 3)},
            {hidl_string("longer", 4), "long"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, std::string(each.made));
        EXPECT_EQ('\0', each.made.c_str()[each.made.size()]);
        EXPECT_EQ(each.made, hidl_string(each.made));
    }
    hidl_string text = "abcdef";
    text = *&text;
    EXPECT_EQ("abcdef", text);
    text = text.c_str() + 3;  // Of its own text.
    EXPECT_EQ("def", text);
    text.clear();
    EXPECT_EQ("", text);
}

TEST(HidlString, OnlyRefersToExternalText) {
    char external[] = "outside";
    hidl_string text;
    text.setToExternal(external, strlen(external));
    external[0] = 'O';
    EXPECT_EQ("Outside", text);

    const hidl_string copy = text;
    const hidl_string moved = std::move(text);
    external[0] = 'X';
    EXPECT_EQ("Outside", copy);
    EXPECT_EQ("Xutside", moved);
    EXPECT_EQ("", text);
}

TEST(HidlVec, GrowsAndShrinksKeepingWhatFits) {
    hidl_vec<hidl_string> values = {"one", "two"};
    values = *&values;
    values.resize(3);
    EXPECT_EQ((hidl_vec<hidl_string>{"one", "two", ""}), values);
    values.resize(1);
    EXPECT_EQ((hidl_vec<hidl_string>{"one"}), values);
    values.resize(0);
    EXPECT_EQ(values.begin(), values.end());

    hidl_vec<int> numbers;
    numbers.resize(4);
    EXPECT_EQ((hidl_vec<int>{0, 0, 0, 0}), numbers);
    EXPECT_NE((hidl_vec<int>{0, 0, 0}), numbers);
    numbers = std::vector<int>{1, 2};
    EXPECT_EQ((std::vector<int>{1, 2}), std::vector<int>(numbers));
}

class HidlHandle : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(mOpenBefore, openDescriptors()); }

    // A handle of two descriptors that a child process would inherit, and one integer.
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
    const hidl_memory copy = memory;
    EXPECT_EQ("ashmem", copy.name());
    EXPECT_EQ(4096u, copy.size());
    ASSERT_NE(nullptr, copy.handle());
    EXPECT_EQ(2, copy.handle()->numFds);
    EXPECT_EQ(1, copy.handle()->numInts);
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
    EXPECT_EQ(nullptr, handle.getNativeHandle());
    EXPECT_EQ(2u, opened());
    moved = makeOwned();  // What it held is closed.
    EXPECT_EQ(2u, opened());
}

TEST_F(HidlHandle, ABorrowedHandleStaysTheLenders) {
    const hidl_handle lender = makeOwned();
    const native_handle_t* native = lender;
    {
        const hidl_handle borrowed(native);
        hidl_handle assigned = makeOwned();
        assigned = native;
        EXPECT_EQ(native, assigned.getNativeHandle());
        hidl_handle set;
        set.setTo(const_cast<native_handle_t*>(native));
        const hidl_handle moved = std::move(set);
        const hidl_memory memory("ashmem", native, 4096);
        EXPECT_EQ(2u, opened());
    }
    EXPECT_TRUE(isOpen(native->data[0]) && isOpen(native->data[1]));
}

TEST_F(HidlHandle, ACopyWithoutDescriptorsLeftIsNullAndLeaksNothing) {
    const hidl_handle handle = makeOwned();
    const std::set<int> open = openDescriptors();
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    rlimit lowered = limit;
    // Room for one more: the second duplicate is the one that fails.
    lowered.rlim_cur = static_cast<rlim_t>(*open.rbegin()) + 2;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &lowered));
    std::vector<int> fillers;
    const int gaps = *open.rbegin() + 1 - static_cast<int>(open.size());
    for (int i = 0; i < gaps; ++i) {
        fillers.push_back(dup(STDERR_FILENO));
    }
    const hidl_handle copy = handle;
    for (const int filler : fillers) {
        close(filler);
    }
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    EXPECT_EQ(nullptr, copy.getNativeHandle());
    EXPECT_EQ(open, openDescriptors());
}

}  // namespace
