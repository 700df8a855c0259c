/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What people are shown of what is others'.
#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "client/io/Terminal.h"
#include "client/report/OutputSummary.h"

namespace orva::client {
namespace {

template <typename Element>
OutputSummary summaryOf(ElementType type, const std::vector<Element>& elements) {
    const TensorShape shape = {"y", type, {static_cast<int64_t>(elements.size())}};
    return OutputSummary::of(shape, reinterpret_cast<const uint8_t*>(elements.data()));
}

TEST(OutputSummary, IsRightToTheLastDigitOfAnInteger) {
    constexpr int64_t kLarge = (int64_t{1} << 53) + 1;
    const auto large = summaryOf<int64_t>(ElementType::kInt64, {kLarge, INT64_MIN, 1234567});
    EXPECT_EQ(large.text(),
              "y int64 3: min -9223372036854775808, max 9007199254740993, mean -3.07145e+18, first "
              "9007199254740993 -9223372036854775808 1234567");
    EXPECT_EQ(large.json()["first"], nlohmann::json({kLarge, INT64_MIN, 1234567}));
    EXPECT_EQ(summaryOf<uint64_t>(ElementType::kUint64, {UINT64_MAX}).json()["max"], UINT64_MAX);
    EXPECT_EQ(summaryOf<float>(ElementType::kFloat32, {0.5F, 1234567}).text(),
              "y float32 2: min 0.5, max 1.23457e+06, mean 617284, first 0.5 1.23457e+06");
}

TEST(OutputSummary, HasNoLeastOfWhatIsNoNumber) {
    for (const std::vector<float>& values :
         {std::vector<float>{NAN, 1, 2}, std::vector<float>{1, NAN, 2}}) {
        const auto summary = summaryOf(ElementType::kFloat32, values);
        EXPECT_TRUE(std::isnan(summary.min) && std::isnan(summary.max) && std::isnan(summary.mean));
        EXPECT_EQ(summary.json()["min"].dump(), "null");
    }
}

TEST(Terminal, IsNotLedByOthersTexts) {
    EXPECT_EQ(printable("a\033[2J\nb\r\tc\x7f"), "a?[2J?b??c?");
    EXPECT_EQ(printable("a\nb\t\r", "\n\t"), "a\nb\t?");
    EXPECT_EQ(printable("\xc2\x9b\x31m, \xc2\xa0ü… \xc2"), "??1m, \xc2\xa0ü… \xc2");
}

}  // namespace
}  // namespace orva::client
