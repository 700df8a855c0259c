/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/HostRequests.h"

#include "client/trace/TraceSource.h"

namespace orva::client {

using nlohmann::ordered_json;

ordered_json requestsOf(pid_t host) {
    return ordered_json::parse(TraceSource(host, "requests").first()).at("requests");
}

ordered_json requestsOf(const ordered_json& requests, const std::string& service,
                        const std::string& client) {
    ordered_json some = ordered_json::array();
    for (const ordered_json& request : requests) {
        const std::string session = request.at("session");
        if (request.at("service") == service &&
            (client.empty() || session == client || session == "process " + client ||
             session.compare(0, session.find(':'), client) == 0)) {
            some.push_back(request);
            some.back().erase("service");
        }
    }
    return some;
}

std::string requestsText(const ordered_json& requests) {
    std::string text = "  latest_requests\n";
    for (const ordered_json& request : requests) {
        text += "   ";
        for (const auto& [name, value] : request.items()) {
            text += " " + name + " " + value.dump();
        }
        text += "\n";
    }
    return text;
}

}  // namespace orva::client
