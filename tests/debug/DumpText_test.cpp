/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/DumpText.h"

#include <gtest/gtest.h>

namespace orva::hidl {
namespace {

TEST(DumpText, QuotesWhatClientsWrite) {
    EXPECT_EQ("\"\"", Quoted(""));
    EXPECT_EQ("\"face 1\"", Quoted("face 1"));
    EXPECT_EQ("\"\\\"\\\\\\u000a\\u001b[2J\\u0000\\u007f??\"",
              Quoted(std::string("\"\\\n\033[2J\0\x7f\xc3\xa4", 11)));
}

}  // namespace
}  // namespace orva::hidl
