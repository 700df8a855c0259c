/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>
#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>

namespace orva {
namespace {

using Map = std::map<std::string, std::string>;

TEST(TextForm, MapsComeBackAsTheyWere) {
    const Map maps[] = {
            {},
            {{"", ""}},
            {{"scale", "0.5"}, {"quotes \" \\ /", "lines \n\t\r and \x01"}},
            {{"snö", "雪 \xf0\x9f\x8f\x94"}, {"nul", std::string("a\0b", 3)}},
    };
    for (const Map& map : maps) {
        AIContext context;
        AIModelDescription model;
        for (const auto& [name, value] : map) {
            context.SetPara(name, value);
            model.set_para(name, value);
        }
        AIContext context2;
        context2.SetPara("left", "over");
        EXPECT_TRUE(context2.Deserialize(context.Serialize()));
        EXPECT_EQ(map, context2.paras());
        AIModelDescription model2;
        model2.set_name("left over");
        EXPECT_TRUE(model2.ParseFromString(model.SerializeToString()));
        EXPECT_EQ("", model2.name());
        EXPECT_EQ(map, model2.paras());
    }
}

TEST(TextForm, MalformedTextsChangeNothing) {
    // A reader that recurses would run out of stack.
    const std::string deep(1 << 20, '[');
    const std::string texts[] = {"x",
                                 "{",
                                 "null",
                                 "[]",
                                 R"({"a":})",
                                 R"({"a":1})",
                                 R"({"a":["b"]})",
                                 R"({"a":{"b":"c"}})",
                                 R"({"a":"b"} x)",
                                 "{\"a\":\"\xff\"}",
                                 "{\"a\":" + deep};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 40));
        AIConfig config;
        config.SetPara("kept", "yes");
        EXPECT_FALSE(config.ParseFromString(text));
        EXPECT_EQ((Map{{"kept", "yes"}}), config.paras());
        AIModelDescription model;
        model.set_name("kept");
        EXPECT_FALSE(model.ParseFromString(text));
        EXPECT_EQ("kept", model.name());
    }
}

TEST(TextForm, ModelDescriptionKeepsItsMembersApart) {
    AIModelDescription model;
    ASSERT_TRUE(model.ParseFromString(
            R"({"type":"onnx","name":"face","paras":{"name":"inner","type":"t"}})"));
    AIModelDescription back;
    ASSERT_TRUE(back.ParseFromString(model.SerializeToString()));
    EXPECT_EQ("face", back.name());
    EXPECT_EQ("onnx", back.type());
    EXPECT_EQ((Map{{"name", "inner"}, {"type", "t"}}), back.paras());
    for (const char* text : {R"({"paras":"x"})", R"({"name":{}})", R"({"other":"x"})"}) {
        EXPECT_FALSE(back.ParseFromString(text)) << text;
    }
}

TEST(ModelDescription, CopiesItsBytesAndDoesNotBelieveAnySize) {
    std::vector<uint8_t> source = {1, 2, 3};
    AIModelDescription model;
    model.set_data(source.data(), source.size());
    source.assign(3, 9);
    const AIModelDescription copy = model;
    model.set_data(source.data(), SIZE_MAX);
    EXPECT_EQ(nullptr, model.data());
    EXPECT_EQ(0u, model.data_size());
    ASSERT_EQ(3u, copy.data_size());
    EXPECT_EQ(2, copy.data()[1]);
}

}  // namespace
}  // namespace orva
