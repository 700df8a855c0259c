/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/Profile.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace orva::client {

using nlohmann::json;

namespace {

// The names are a model's, and terminals obey what does not print.
std::string textIn(const json& row, const char* name) {
    const auto found = row.find(name);
    std::string text = found != row.end() && found->is_string() ? found->get<std::string>() : "?";
    std::replace_if(
            text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

uint64_t numberIn(const json& row, const char* name) {
    const auto found = row.find(name);
    return found != row.end() && found->is_number_unsigned() ? found->get<uint64_t>() : 0;
}

std::string line(const std::string& micros, const std::string& calls, const std::string& type,
                 const std::string& node) {
    char text[256];
    snprintf(text, sizeof text, "%10s %6s  %-24s %s", micros.c_str(), calls.c_str(), type.c_str(),
             node.c_str());
    return text;
}

}  // namespace

json profileOf(const std::string& context) {
    const json parameters = json::parse(context, nullptr, false);
    if (!parameters.is_object() || !parameters.contains("profile") ||
        !parameters["profile"].is_string()) {
        return json::array();
    }
    json profile = json::array();
    const json table = json::parse(parameters["profile"].get<std::string>(), nullptr, false);
    for (const json& row : table.is_array() ? table : json::array()) {
        if (row.is_object()) {
            profile.push_back({{"node", textIn(row, "node")},
                               {"operator", textIn(row, "operator")},
                               {"calls", numberIn(row, "calls")},
                               {"micros", numberIn(row, "micros")}});
        }
    }
    return profile;
}

std::string profileText(const json& profile) {
    if (profile.empty()) {
        return "no profile: the service told none";
    }
    std::string text = line("us", "calls", "operator", "node");
    for (const json& row : profile) {
        text += '\n' + line(std::to_string(row["micros"].get<uint64_t>()),
                            std::to_string(row["calls"].get<uint64_t>()),
                            row["operator"].get<std::string>(), row["node"].get<std::string>());
    }
    return text;
}

}  // namespace orva::client
