/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <string>

namespace orva::reference {

using TextMap = std::map<std::string, std::string>;

// The text forms are JSON objects of strings. Readers take any bytes: what is not such a text is
// malformed, however long or deeply nested. Of a member given twice the last one counts.

// Reads {"name": "value", …}; the empty text is the empty map. False, and nothing changed, when
// the text is malformed.
bool ParseTextMap(const std::string& text, TextMap& map);
// The empty map is the empty text. Bytes that are not UTF-8 become U+FFFD.
std::string WriteTextMap(const TextMap& map);

// A model description: strings "name" and "type", and "paras", a map as above.
struct ModelText {
    std::string name;
    std::string type;
    TextMap paras;
};
bool ParseModelText(const std::string& text, ModelText& model);
std::string WriteModelText(const ModelText& model);

}  // namespace orva::reference
