/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "text/TextForm.h"

#include <utility>

#include <nlohmann/json.hpp>

namespace orva::reference {

namespace {

using Json = nlohmann::json;

// Receives a text's tokens and stops it at the first one that no text form has, so that neither
// nesting nor foreign values are ever built up in memory.
class TextReader : public nlohmann::json_sax<Json> {
public:
    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t) override { return false; }
    bool number_unsigned(number_unsigned_t) override { return false; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool binary(binary_t&) override { return false; }
    bool start_array(size_t) override { return false; }
    bool end_array() override { return false; }
    bool parse_error(size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }
    bool key(string_t& name) override {
        key_ = std::move(name);
        return true;
    }

protected:
    std::string key_;
};

class MapReader : public TextReader {
public:
    bool start_object(size_t) override { return depth_++ == 0; }
    bool end_object() override { return true; }
    bool string(string_t& value) override {
        if (depth_ == 0) {
            return false;
        }
        map[key_] = std::move(value);
        return true;
    }

    TextMap map;

private:
    int depth_ = 0;
};

class ModelReader : public TextReader {
public:
    bool start_object(size_t) override {
        ++depth_;
        return depth_ == 1 || (depth_ == 2 && key_ == "paras");
    }
    bool end_object() override {
        --depth_;
        return true;
    }
    bool string(string_t& value) override {
        if (depth_ == 2) {
            model.paras[key_] = std::move(value);
        } else if (depth_ == 1 && key_ == "name") {
            model.name = std::move(value);
        } else if (depth_ == 1 && key_ == "type") {
            model.type = std::move(value);
        } else {
            return false;
        }
        return true;
    }

    ModelText model;

private:
    int depth_ = 0;
};

// The parser would take a NUL for the end of the text.
bool Read(const std::string& text, TextReader& reader) {
    return text.find('\0') == std::string::npos && Json::sax_parse(text, &reader);
}

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

bool ParseTextMap(const std::string& text, TextMap& map) {
    if (text.empty()) {
        map.clear();
        return true;
    }
    MapReader reader;
    if (!Read(text, reader)) {
        return false;
    }
    map = std::move(reader.map);
    return true;
}

std::string WriteTextMap(const TextMap& map) {
    return map.empty() ? std::string() : Dump(Json(map));
}

bool ParseModelText(const std::string& text, ModelText& model) {
    if (text.empty()) {
        model = ModelText();
        return true;
    }
    ModelReader reader;
    if (!Read(text, reader)) {
        return false;
    }
    model = std::move(reader.model);
    return true;
}

std::string WriteModelText(const ModelText& model) {
    Json json = Json::object();
    if (!model.name.empty()) {
        json["name"] = model.name;
    }
    if (!model.type.empty()) {
        json["type"] = model.type;
    }
    if (!model.paras.empty()) {
        json["paras"] = model.paras;
    }
    return json.empty() ? std::string() : Dump(json);
}

}  // namespace orva::reference
