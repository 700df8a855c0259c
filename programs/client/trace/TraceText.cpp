/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/TraceText.h"

#include <algorithm>
#include <cstdio>

#include "client/io/Terminal.h"
#include "client/lib/ServiceError.h"
#include "client/model/TensorShape.h"
#include "client/report/Latency.h"

namespace orva::client {

using nlohmann::ordered_json;

namespace {

constexpr size_t kIndent = 4;
// Of one text among the arguments.
constexpr size_t kMostCharacters = 120;

double microseconds(TracedCall::Time time) {
    return static_cast<double>(time.count()) / 1000;
}

std::string quoted(std::string text) {
    if (text.size() > kMostCharacters) {
        text = text.substr(0, kMostCharacters) + "...";
    }
    return ordered_json(text).dump(-1, ' ', true, ordered_json::error_handler_t::replace);
}

// "AINeuralNetworkBuffer 192.0 KiB float32 n1 c3 h128 w128".
std::string tensorText(const ordered_json& tensor) {
    std::string text =
            tensor.value("type", "") + " " + sizeText(tensor.value("bytes", uint64_t{0}));
    const auto record = tensor.find("record");
    if (record == tensor.end()) {
        return text + " without a record";
    }
    const int type = record->value("dataType", -1);
    text += type >= 0 && type <= static_cast<int>(ElementType::kBool)
                    ? std::string(" ") + nameOf(static_cast<ElementType>(type))
                    : " type " + std::to_string(type);
    for (const auto& [letter, name] :
         {std::pair("n", "number"), {"c", "channel"}, {"h", "height"}, {"w", "width"}}) {
        text += std::string(" ") + letter + std::to_string(record->value(name, 0));
    }
    return text;
}

std::string valueText(const ordered_json& value) {
    if (value.is_string()) {
        return quoted(value);
    }
    if (value.is_array()) {
        std::string text;
        for (const ordered_json& item : value) {
            text += (text.empty() ? "" : ", ") + valueText(item);
        }
        return "[" + text + "]";
    }
    if (value.is_object() && value.contains("type")) {
        return tensorText(value);
    }
    if (value.is_object() && value.contains("description")) {
        return sizeText(value.value("bytes", uint64_t{0})) +
               (value.value("region", false) ? " " : " nowhere ") +
               quoted(value.value("description", ""));
    }
    if (value.is_object() && value.contains("more")) {
        return "and " + value["more"].dump() + " more";
    }
    return value.dump();
}

std::string membersText(const ordered_json& members) {
    std::string text;
    for (const auto& [name, value] : members.items()) {
        text += (text.empty() ? "" : ", ") + name + " " + valueText(value);
    }
    return text;
}

std::string resultText(const TracedCall& call) {
    if (!call.end) {
        return " ... under way";
    }
    if (call.isLost) {
        return " = ? (the client could not be told)";
    }
    std::string text;
    if (call.results.size() == 1) {
        const auto status = call.status();
        text = status.value_or(0) != 0 && call.results.contains("status")
                       ? statusText(static_cast<int32_t>(*status))
                       : valueText(call.results.front());
    } else if (!call.results.empty()) {
        text = membersText(call.results);
    }
    return (text.empty() ? "" : " = " + text) + " <" + milliseconds(call.duration()) + ">";
}

}  // namespace

std::string callText(const TracedCall& call, TracedCall::Time start, size_t width) {
    char head[80];
    snprintf(head, sizeof head, "%.6f %d/%d %c ",
             std::chrono::duration<double>(call.begin - start).count(), call.client, call.thread,
             call.isCallback ? '<' : '>');
    return wrapped(head + call.method + "(" + membersText(call.arguments) + ")" + resultText(call),
                   width, kIndent);
}

ordered_json callJson(const TracedCall& call, TracedCall::Time start) {
    ordered_json json = {{"at_us", microseconds(call.begin - start)},
                         {"client", call.client},
                         {"thread", call.thread},
                         {"kind", call.isCallback ? "callback" : "call"},
                         {"interface", call.interface},
                         {"method", call.method},
                         {"arguments", call.arguments}};
    if (call.isLost) {
        json["failed"] = true;
    } else if (call.end) {
        json["results"] = call.results;
        json["duration_us"] = microseconds(call.duration());
    }
    return json;
}

void TraceSummary::add(const TracedCall& call) {
    Method& method = methods_[call.interface + "::" + call.method];
    method.times.add(call.duration());
    method.failures += call.hasFailed() ? 1 : 0;
}

std::string TraceSummary::text() const {
    std::vector<std::pair<std::string, const Method*>> sorted;
    for (const auto& [name, method] : methods_) {
        sorted.emplace_back(name, &method);
    }
    const auto total = [](const Method& method) {
        return method.times.mean() * method.times.count();
    };
    std::sort(sorted.begin(), sorted.end(), [&](const auto& left, const auto& right) {
        return total(*left.second) > total(*right.second);
    });
    std::string text = "  CALLS FAILED MEAN ms  P99 ms  MAX ms\n";
    for (const auto& [name, method] : sorted) {
        const auto ms = [](std::chrono::nanoseconds time) {
            return std::chrono::duration<double, std::milli>(time).count();
        };
        char line[80];
        snprintf(line, sizeof line, "%7llu %6llu %7.3f %7.3f %7.3f",
                 static_cast<unsigned long long>(method->times.count()),
                 static_cast<unsigned long long>(method->failures), ms(method->times.mean()),
                 ms(method->times.percentile(0.99)), ms(method->times.greatest()));
        text += line + std::string("\n  ") + name + "\n";
    }
    return text;
}

ordered_json TraceSummary::json() const {
    ordered_json json = ordered_json::array();
    for (const auto& [name, method] : methods_) {
        json.push_back({{"method", name},
                        {"calls", method.times.count()},
                        {"failed", method.failures},
                        {"mean_us", microseconds(method.times.mean())},
                        {"p50_us", microseconds(method.times.percentile(0.5))},
                        {"p99_us", microseconds(method.times.percentile(0.99))},
                        {"max_us", microseconds(method.times.greatest())}});
    }
    return json;
}

}  // namespace orva::client
