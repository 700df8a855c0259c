/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>

namespace orva {
namespace {

using Map = std::map<std::string, std::string>;

TEST(TextForm, ComesBackAsItWasOrChangesNothing) {
    const Map maps[] = {
            {},
            {{"scale", "0.5"}, {"", ""}, {"quotes \" \\ /", "lines \n\t\r and \x01"}},
            {{"snö", "雪 \xf0\x9f\x8f\x94"}, {"nul", std::string("a\0b", 3)}},
    };
    const std::string malformed[] = {"x", "{", "null", "[]", R"({"a":})", R"({"a":1})",
                                     R"({"a":{"b":"c"}})", R"({"a":"b"} x)", "{\"a\":\"\xff\"}",
                                     // A reader that recurses would run out of stack.
                                     "{\"a\":" + std::string(1 << 20, '[')};
    for (const Map& map : maps) {
        AIContext context, back;
        for (const auto& [name, value] : map) {
            context.SetPara(name, value);
        }
        back.SetPara("left", "over");
        EXPECT_TRUE(back.Deserialize(context.Serialize()));
        EXPECT_EQ(map, back.paras());
        for (const std::string& text : malformed) {
            EXPECT_FALSE(back.Deserialize(text)) << text.substr(0, 40);
            EXPECT_EQ(map, back.paras());
        }
    }
}

TEST(TextForm, ModelDescriptionKeepsItsMembersApart) {
    AIModelDescription model, back;
    ASSERT_TRUE(model.ParseFromString(
            R"({"type":"onnx","name":"face","paras":{"name":"inner","type":"t"}})"));
    ASSERT_TRUE(back.ParseFromString(model.SerializeToString()));
    EXPECT_EQ("face", back.name());
    EXPECT_EQ("onnx", back.type());
    EXPECT_EQ((Map{{"name", "inner"}, {"type", "t"}}), back.paras());
    for (const char* text : {R"({"paras":"x"})", R"({"name":{}})", R"({"other":"x"})"}) {
        EXPECT_FALSE(back.ParseFromString(text)) << text;
    }
    EXPECT_EQ("face", back.name());
}

}  // namespace
}  // namespace orva
