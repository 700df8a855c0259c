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

std::string Repeat(const std::string& text, size_t times) {
    std::string result;
    for (size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

// Texts that no reader takes; the long ones would exhaust the stack of one that recurses.
std::vector<std::string> MalformedTexts() {
    return {
            "x",
            "{",
            "}",
            "null",
            "[]",
            "\"text\"",
            "{\"a\"}",
            "{\"a\":}",
            "{\"a\":1}",
            "{\"a\":null}",
            "{\"a\":[\"b\"]}",
            "{\"a\":{\"b\":\"c\"}}",
            "{\"a\":\"b\"} x",
            "{\"a\":\"b\",}",
            "{\"a\":\"\x01\"}",
            "{\"a\":\"\\ud800\"}",
            "{\"a\":\"\xff\"}",
            "{\"a\":\"\xc3\"}",
            std::string("{\"a\":\"b\"}\0", 10),
            Repeat("[", 1 << 20),
            Repeat("{\"a\":", 1 << 20),
            "{\"a\":" + Repeat("[", 1 << 20) + Repeat("]", 1 << 20) + "}",
    };
}

TEST(TextForm, MapsComeBackAsTheyWere) {
    const std::vector<Map> maps = {
            {},
            {{"", ""}},
            {{"scale", "0.5"}, {"bias", "-1"}},
            {{"quotes \" \\ /", "lines \n\t\r and \x01"}},
            {{"snö", "雪 \xf0\x9f\x8f\x94"}},
            {{"nul", std::string("a\0b", 3)}},
            {{"long", Repeat("x", 1 << 20)}},
    };
    for (const Map& map : maps) {
        AIConfig config;
        AIContext context;
        AIModelDescription model;
        for (const auto& [name, value] : map) {
            config.SetPara(name, value);
            context.SetPara(name, value);
            model.set_para(name, value);
        }
        AIConfig config2;
        config2.SetPara("left", "over");
        EXPECT_TRUE(config2.ParseFromString(config.SerializeToString()));
        EXPECT_EQ(map, config2.paras());
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
    for (const std::string& text : MalformedTexts()) {
        SCOPED_TRACE(text.substr(0, 40));
        AIConfig config;
        config.SetPara("kept", "yes");
        EXPECT_FALSE(config.ParseFromString(text));
        EXPECT_EQ((Map{{"kept", "yes"}}), config.paras());
        AIContext context;
        context.SetPara("kept", "yes");
        EXPECT_FALSE(context.Deserialize(text));
        EXPECT_EQ((Map{{"kept", "yes"}}), context.paras());
        AIModelDescription model;
        model.set_name("kept");
        EXPECT_FALSE(model.ParseFromString(text));
        EXPECT_EQ("kept", model.name());
    }
}

TEST(TextForm, BytesThatAreNotTextAreReplaced) {
    AIContext context;
    context.SetPara("a", "x\xff\xc3y");
    AIContext back;
    ASSERT_TRUE(back.Deserialize(context.Serialize()));
    EXPECT_EQ("x\xef\xbf\xbd\xef\xbf\xbdy", back.GetPara("a"));
}

TEST(TextForm, ModelDescriptionKeepsItsMembersApart) {
    AIModelDescription model;
    ASSERT_TRUE(model.ParseFromString(
            R"({"type":"onnx","name":"face","paras":{"name":"inner","type":"t"}})"));
    EXPECT_EQ("face", model.name());
    EXPECT_EQ("onnx", model.type());
    EXPECT_EQ((Map{{"name", "inner"}, {"type", "t"}}), model.paras());
    AIModelDescription back;
    ASSERT_TRUE(back.ParseFromString(model.SerializeToString()));
    EXPECT_EQ("face", back.name());
    EXPECT_EQ("onnx", back.type());
    EXPECT_EQ(model.paras(), back.paras());

    for (const char* text : {R"({"paras":"x"})", R"({"paras":{"a":{"b":"c"}}})", R"({"name":{}})",
                             R"({"other":"x"})", R"({"paras":{"a":1}})"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(back.ParseFromString(text));
        EXPECT_EQ("face", back.name());
    }
}

TEST(ModelDescription, CopiesItsBytesAndSharesThemWithItsCopies) {
    std::vector<uint8_t> source = {1, 2, 3};
    AIModelDescription model;
    model.set_data(source.data(), source.size());
    source.assign(3, 9);
    ASSERT_EQ(3u, model.data_size());
    EXPECT_EQ(2, model.data()[1]);
    const AIModelDescription copy = model;
    EXPECT_EQ(model.data(), copy.data());
    EXPECT_TRUE(model.ParseFromString("{}"));
    EXPECT_EQ(3u, model.data_size());
    model.set_data(nullptr, 0);
    EXPECT_EQ(nullptr, model.data());
    EXPECT_EQ(3u, copy.data_size());
}

TEST(ModelDescription, DoesNotBelieveAnySize) {
    const uint8_t byte = 0;
    AIModelDescription model;
    model.set_data(&byte, 1);
    model.set_data(&byte, SIZE_MAX);
    EXPECT_EQ(nullptr, model.data());
    EXPECT_EQ(0u, model.data_size());
}

}  // namespace
}  // namespace orva
