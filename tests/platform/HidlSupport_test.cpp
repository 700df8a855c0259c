/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/HidlSupport.h>

#include <sys/resource.h>
#include <unistd.h>

#include <map>

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
    const char withNul[] = {'a', '\0', 'b'};
    struct {
        hidl_string made;
        std::string expected;
    } const cases[] = {
            {hidl_string(), ""},
            {hidl_string(static_cast<const char*>(nullptr)), ""},
            {"text", "text"},
            {std::string("text"), "text"},
            {hidl_string(withNul, sizeof(withNul)), std::string(withNul, sizeof(withNul))},
            {hidl_string("longer", 4), "long"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, std::string(each.made));
        EXPECT_EQ(each.expected.size(), each.made.size());
        EXPECT_EQ('\0', each.made.c_str()[each.made.size()]);
        const hidl_string copy = each.made;
        EXPECT_EQ(each.made, copy);
    }
}

TEST(HidlString, AssignsFromItsOwnText) {
    hidl_string text = "abcdef";
    text = *&text;
    EXPECT_EQ("abcdef", text);
    text = text.c_str() + 3;
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
    hidl_string moved = std::move(text);
    external[0] = 'X';
    EXPECT_EQ("Outside", copy);
    EXPECT_EQ("Xutside", moved);
    EXPECT_EQ("", text);
}

TEST(HidlString, ComparesWithTextOfAnyKind) {
    const hidl_string b = "b";
    EXPECT_TRUE(b == "b" && "b" == b && b == std::string("b") && std::string("b") == b);
    EXPECT_TRUE(b != "a" && "a" != b && b != hidl_string("a"));
    EXPECT_TRUE(b > "a" && "a" < b && b <= "b" && b >= std::string("b"));
    EXPECT_NE(hidl_string("a\0b", 3), hidl_string("a\0c", 3));
    const std::map<hidl_string, int> ordered = {{"b", 2}, {"a", 1}};
    EXPECT_EQ(1, ordered.begin()->second);
}

TEST(HidlVec, GrowsAndShrinksKeepingWhatFits) {
    hidl_vec<hidl_string> values = {"one", "two"};
    values.resize(3);
    EXPECT_EQ((hidl_vec<hidl_string>{"one", "two", ""}), values);
    values.resize(1);
    EXPECT_EQ((hidl_vec<hidl_string>{"one"}), values);
    values.resize(0);
    EXPECT_EQ(0u, values.size());
    EXPECT_EQ(values.begin(), values.end());

    hidl_vec<int> numbers;
    numbers.resize(4);
    EXPECT_EQ((hidl_vec<int>{0, 0, 0, 0}), numbers);
}

TEST(HidlVec, OnlyRefersToAnExternalArray) {
    hidl_string external[] = {"one", "two"};
    hidl_vec<hidl_string> values;
    values.setToExternal(external, 2);
    EXPECT_EQ(external, values.data());
    EXPECT_EQ(nullptr, values.releaseData());

    values.resize(3);
    EXPECT_NE(external, values.data());
    EXPECT_EQ("one", values[0]);
    EXPECT_EQ("one", external[0]);
}

TEST(HidlVec, AdoptsAndReleasesAnArray) {
    hidl_vec<int> values;
    values.setToExternal(new int[2]{1, 2}, 2, true);
    const hidl_vec<int> copy = values;
    hidl_vec<int> moved = std::move(values);
    EXPECT_EQ(0u, values.size());
    EXPECT_EQ(copy, moved);
    const std::unique_ptr<int[]> released(moved.releaseData());
    EXPECT_EQ(2, released[1]);
}

TEST(HidlVec, ConvertsAndAssigns) {
    const std::vector<int> source = {1, 2, 3};
    hidl_vec<int> values = source;
    values = *&values;
    EXPECT_EQ(source, std::vector<int>(values));
    EXPECT_EQ((hidl_vec<int>{2, 3}), hidl_vec<int>(source.begin() + 1, source.end()));
    values = {4};
    EXPECT_EQ((hidl_vec<int>{4}), values);
    EXPECT_NE((hidl_vec<int>{4, 4}), values);
    values = std::vector<int>();
    EXPECT_EQ(0u, values.size());
}

TEST(HidlArray, IsLaidOutAsACArray) {
    hidl_array<int32_t, 2, 3> matrix;
    static_assert(sizeof(matrix) == sizeof(int32_t[2][3]));
    matrix[1][2] = 7;
    EXPECT_EQ(7, matrix.data()[5]);
    const hidl_array<uint8_t, 3> row = std::array<uint8_t, 3>{1, 2, 3};
    EXPECT_EQ((std::array<uint8_t, 3>{1, 2, 3}), (std::array<uint8_t, 3>(row)));
    EXPECT_NE(row, (hidl_array<uint8_t, 3>()));
}

TEST(HidlEnum, ListsItsValues) {
    using Architecture = android::hidl::base::V1_0::DebugInfo::Architecture;
    std::vector<Architecture> values;
    for (const Architecture value : hidl_enum_range<Architecture>()) {
        values.push_back(value);
    }
    EXPECT_EQ((std::vector<Architecture>{Architecture::UNKNOWN, Architecture::IS_64BIT,
                                         Architecture::IS_32BIT}),
              values);
}

class HidlHandle : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(mOpenBefore, openDescriptors()); }

    // A handle of two descriptors that a child process would inherit, and one integer.
    static native_handle_t* makeNative() {
        native_handle_t* native = native_handle_create(2, 1);
        native->data[0] = dup(STDERR_FILENO);
        native->data[1] = dup(STDERR_FILENO);
        native->data[2] = 42;
        return native;
    }
    static hidl_handle makeOwned() {
        hidl_handle handle;
        handle.setTo(makeNative(), true);
        return handle;
    }

    const std::set<int> mOpenBefore = openDescriptors();
};

TEST_F(HidlHandle, ACopyHasItsOwnDescriptorsCloseOnExec) {
    const hidl_handle handle = makeOwned();
    const hidl_handle copy = handle;
    ASSERT_NE(nullptr, copy.getNativeHandle());
    EXPECT_EQ(2, copy->numFds);
    EXPECT_EQ(1, copy->numInts);
    EXPECT_EQ(42, copy->data[2]);
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(handle->data[i], copy->data[i]);
        EXPECT_FALSE(isCloseOnExec(handle->data[i]));
        EXPECT_TRUE(isCloseOnExec(copy->data[i]));
    }
    EXPECT_EQ(mOpenBefore.size() + 4, openDescriptors().size());
}

TEST_F(HidlHandle, AMoveTakesTheDescriptorsAlong) {
    hidl_handle handle = makeOwned();
    const native_handle_t* native = handle;
    hidl_handle moved = std::move(handle);
    EXPECT_EQ(native, moved.getNativeHandle());
    EXPECT_EQ(nullptr, handle.getNativeHandle());
    EXPECT_EQ(mOpenBefore.size() + 2, openDescriptors().size());

    moved = makeOwned();  // What it held is closed.
    EXPECT_EQ(mOpenBefore.size() + 2, openDescriptors().size());
}

TEST_F(HidlHandle, ABorrowedHandleStaysTheLenders) {
    native_handle_t* native = makeNative();
    {
        const hidl_handle borrowed(native);
        EXPECT_EQ(native, borrowed.getNativeHandle());
        hidl_handle assigned = makeOwned();
        assigned = native;
        EXPECT_EQ(native, assigned.getNativeHandle());
        EXPECT_EQ(mOpenBefore.size() + 2, openDescriptors().size());
        hidl_handle set;
        set.setTo(native);
        const hidl_handle moved = std::move(set);
    }
    EXPECT_TRUE(isOpen(native->data[0]) && isOpen(native->data[1]));
    native_handle_close(native);
    native_handle_delete(native);
}

TEST_F(HidlHandle, AssigningItToItselfKeepsIt) {
    hidl_handle handle = makeOwned();
    handle = *&handle;
    handle = handle.getNativeHandle();
    handle.setTo(const_cast<native_handle_t*>(handle.getNativeHandle()), true);
    ASSERT_NE(nullptr, handle.getNativeHandle());
    EXPECT_TRUE(isOpen(handle->data[0]) && isOpen(handle->data[1]));
}

TEST_F(HidlHandle, AFailedCopyIsNullAndLeaksNothing) {
    native_handle_t* native = makeNative();
    close(native->data[1]);
    native->data[1] = -1;
    hidl_handle broken;
    broken.setTo(native, true);
    const std::set<int> open = openDescriptors();
    {
        const hidl_handle copy = broken;
        EXPECT_EQ(nullptr, copy.getNativeHandle());
        hidl_handle assigned = makeOwned();
        assigned = broken;
        EXPECT_EQ(nullptr, assigned.getNativeHandle());
    }
    EXPECT_EQ(open, openDescriptors());
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

TEST_F(HidlHandle, MemoryIsCopiedWithItsHandle) {
    const hidl_memory memory("ashmem", makeOwned(), 4096);
    const hidl_memory copy = memory;
    EXPECT_EQ("ashmem", copy.name());
    EXPECT_EQ(4096u, copy.size());
    ASSERT_NE(nullptr, copy.handle());
    EXPECT_NE(memory.handle(), copy.handle());
    EXPECT_EQ(mOpenBefore.size() + 4, openDescriptors().size());

    const hidl_memory borrowing("ashmem", memory.handle(), 4096);
    EXPECT_EQ(memory.handle(), borrowing.handle());
    EXPECT_EQ(mOpenBefore.size() + 4, openDescriptors().size());
}

TEST(ToString, IsForPeopleToRead) {
    EXPECT_EQ("true", toString(true));
    EXPECT_EQ("-5", toString(int8_t{-5}));
    EXPECT_EQ("\"text\"", toString(hidl_string("text")));
    EXPECT_EQ("[2]{\"a\", \"b\"}", toString(hidl_vec<hidl_string>{"a", "b"}));
    EXPECT_EQ("[2]{[1]{1}, [0]{}}", toString(hidl_vec<hidl_vec<int>>{{1}, hidl_vec<int>()}));
    EXPECT_EQ("[2]{1, 2}", toString(hidl_array<uint8_t, 2>(std::array<uint8_t, 2>{1, 2})));
    EXPECT_EQ("native_handle(null)", toString(hidl_handle()));
    EXPECT_EQ("memory {.name = \"ashmem\", .size = 8, .handle = native_handle(null)}",
              toString(hidl_memory("ashmem", hidl_handle(), 8)));
    EXPECT_EQ("0xff", android::hardware::details::toHexString(255));
}

}  // namespace
