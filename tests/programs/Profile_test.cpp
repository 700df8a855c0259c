/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Profile.h"

#include <gtest/gtest.h>

namespace orva::client {
namespace {

TEST(Profile, IsWhatTheContextTellsAndNothingElse) {
    const auto context = [](const std::string& profile) {
        return nlohmann::json{{"mine", "x"}, {"profile", profile}}.dump();
    };
    const std::string none = "no profile: the service told none";
    const std::string head = "        us  calls  operator                 node\n";
    const struct {
        std::string context, text;
    } cases[] = {
            {context(R"([{"node":"a","operator":"Conv","calls":2,"micros":31},)"
                     R"({"node":"b","operator":"Relu","calls":1,"micros":4}])"),
             head + "        31      2  Conv                     a\n"
                    "         4      1  Relu                     b"},
            {context(R"([{"node":"\u001b[2J","operator":7,"calls":-2,"micros":"x"}, 3])"),
             head + "         0      0  ?                        ?[2J"},
            {context("{}"), none},
            {context("[1"), none},
            {context(""), none},
            {R"({"profile": [{"micros": 1}]})", none},
            {"[]", none},
            {"", none},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.text, profileText(profileOf(each.context))) << each.context;
    }
}

}  // namespace
}  // namespace orva::client
