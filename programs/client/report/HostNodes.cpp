/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/HostNodes.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "client/io/Terminal.h"
#include "client/trace/TraceSource.h"

namespace orva::client {

namespace {

constexpr size_t kIndent = 2;
constexpr char kAny[] = "(any)";

}  // namespace

nlohmann::json HostNode::json() const {
    return {{"service", service},
            {"type", type ? nlohmann::json(*type) : nlohmann::json()},
            {"from", from},
            {"takes", takes}};
}

std::vector<HostNode> nodesOf(pid_t host) {
    const std::string answer = TraceSource(host, "nodes").first();
    const auto parsed = nlohmann::json::parse(answer, nullptr, false);
    const auto list = parsed.is_object() ? parsed.value("nodes", nlohmann::json()) : parsed;
    if (!list.is_array()) {
        throw std::runtime_error("process " + std::to_string(host) + " does not say: " + answer);
    }
    std::vector<HostNode> nodes;
    for (const auto& node : list) {
        const auto& type = node.at("type");
        nodes.push_back({node.at("service"),
                         type.is_string() ? std::optional<std::string>(type) : std::nullopt,
                         node.at("from"), node.at("takes")});
    }
    return nodes;
}

std::string nodesText(const std::vector<HostNode>& nodes, size_t width) {
    size_t room = 4;
    for (const HostNode& node : nodes) {
        room = std::max(room, node.type.value_or(kAny).size());
    }
    const auto row = [&](const std::string& type, const std::string& service,
                         const std::string& from) {
        char text[1024];
        snprintf(text, sizeof text, "%-*s  %-20s  %s", static_cast<int>(room), type.c_str(),
                 service.c_str(), from.c_str());
        return wrapped(printable(text), width, kIndent) + "\n";
    };
    std::string text = row("TYPE", "SERVICE", "FROM");
    for (const HostNode& node : nodes) {
        text += row(node.type.value_or(kAny), node.service, node.from);
        if (!node.takes.empty()) {
            text += wrapped(std::string(kIndent, ' ') + printable(node.takes), width, kIndent) +
                    "\n";
        }
    }
    return text;
}

}  // namespace orva::client
