/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/TracedCall.h"

#include <stdexcept>

#include "client/perf/ServiceTimes.h"

namespace orva::client {

using nlohmann::ordered_json;

namespace {

// Of two lines one may have been lost, so that what began never ends. More cannot be under way.
constexpr size_t kMostOpen = 65536;

std::optional<int64_t> numberIn(const ordered_json& members, const char* name) {
    const auto found = members.find(name);
    return found != members.end() && found->is_number_integer()
                   ? std::optional<int64_t>(found->get<int64_t>())
                   : std::nullopt;
}

TracedCall begun(const ordered_json& line) {
    TracedCall call;
    call.id = line.at("id");
    call.begin = TracedCall::Time(line.at("at").get<int64_t>());
    call.thread = line.at("thread");
    call.client = line.at("client");
    call.isCallback = line.at("kind") == "callback";
    call.interface = line.at("interface");
    call.method = line.at("method");
    call.arguments = line.at("arguments");
    return call;
}

}  // namespace

std::optional<int64_t> TracedCall::status() const {
    // It answers a number of bytes.
    if (method == "GetMaxUsedMemory") {
        return std::nullopt;
    }
    if (isCallback) {
        return numberIn(arguments, "result");
    }
    const auto status = numberIn(results, "status");
    return status ? status : numberIn(results, "result");
}

bool TracedCall::hasFailed() const {
    return isLost || status().value_or(0) != 0;
}

std::optional<RequestTiming::Service> TracedCall::service() const {
    const auto context = arguments.find("context");
    if (!isCallback || context == arguments.end() || !context->is_string()) {
        return std::nullopt;
    }
    return serviceTimes(context->get<std::string>());
}

std::optional<TracedCall> TracedCalls::take(const std::string& line) {
    try {
        const ordered_json parsed = ordered_json::parse(line);
        const std::string event = parsed.at("event");
        if (event == "begin") {
            if (open_.size() == kMostOpen) {
                open_.erase(open_.begin());
            }
            TracedCall call = begun(parsed);
            const uint64_t id = call.id;
            open_[id] = std::move(call);
        } else if (event == "end") {
            auto found = open_.extract(parsed.at("id").get<uint64_t>());
            if (found.empty()) {
                return std::nullopt;  // Its beginning was lost, or before this trace.
            }
            TracedCall call = std::move(found.mapped());
            call.end = TracedCall::Time(parsed.at("at").get<int64_t>());
            call.results = parsed.value("results", ordered_json::object());
            call.isLost = parsed.value("failed", false);
            return call;
        } else if (event == "watching") {
            host_ = parsed.at("host");
        } else if (event == "lost") {
            lost_ += parsed.at("count").get<uint64_t>();
        } else if (event == "refused") {
            throw std::runtime_error(parsed.at("reason").get<std::string>());
        }
    } catch (const ordered_json::exception& error) {
        throw std::runtime_error(std::string("the host's trace makes no sense: ") + error.what());
    }
    return std::nullopt;
}

}  // namespace orva::client
