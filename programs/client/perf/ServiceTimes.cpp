/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/ServiceTimes.h"

#include <cstdlib>

#include <nlohmann/json.hpp>

namespace orva::client {

namespace {

constexpr char kQueue[] = "queueMicros";
constexpr char kRun[] = "runMicros";

std::optional<std::chrono::nanoseconds> timeIn(const nlohmann::json& context, const char* name) {
    const auto found = context.find(name);
    if (found == context.end()) {
        return std::nullopt;
    }
    double micros = -1;
    if (found->is_number()) {
        micros = found->get<double>();
    } else if (found->is_string()) {
        const auto& text = found->get_ref<const std::string&>();
        char* end = nullptr;
        micros = std::strtod(text.c_str(), &end);
        micros = text.empty() || *end != '\0' ? -1 : micros;
    }
    // Up to a day; no clock of a request says more.
    if (!(micros >= 0 && micros <= 86400e6)) {
        return std::nullopt;
    }
    return std::chrono::nanoseconds(static_cast<int64_t>(micros * 1000));
}

}  // namespace

std::optional<RequestTiming::Service> serviceTimes(const std::string& context) {
    if (context.find(kRun) == std::string::npos) {
        return std::nullopt;
    }
    const nlohmann::json parsed = nlohmann::json::parse(context, nullptr, false);
    if (!parsed.is_object()) {
        return std::nullopt;
    }
    const auto queue = timeIn(parsed, kQueue), run = timeIn(parsed, kRun);
    if (!queue || !run) {
        return std::nullopt;
    }
    return RequestTiming::Service{*queue, *run};
}

}  // namespace orva::client
