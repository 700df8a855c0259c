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
    EXPECT_EQ(profileText(profileOf(
                      context(R"([{"node":"a","operator":"Conv","calls":2,"micros":31},)"
                              R"({"node":"\u001b[2J","operator":7,"calls":-2,"micros":"x"}, 3])"))),
              "        us  calls  operator                 node\n"
              "        31      2  Conv                     a\n"
              "         0      0  ?                        ?[2J");
    for (const std::string& told :
         {context("{}"), context("[1"), context(""), std::string(), std::string("[]"),
          std::string(R"({"profile": [{"micros": 1}]})")}) {
        EXPECT_EQ(profileText(profileOf(told)), "no profile: the service told none") << told;
    }
}

}  // namespace
}  // namespace orva::client
