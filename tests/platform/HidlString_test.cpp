/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <string>

#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>

namespace {

using android::hardware::hidl_string;

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
