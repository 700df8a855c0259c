/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/io/Terminal.h"
#include "client/lib/Session.h"
#include "client/lib/StateDump.h"
#include "client/report/HostRequests.h"

namespace orva::client {

namespace {

struct Options {
    std::string service;  // Empty: both.
    std::string client;
    bool json = false;
};

// A host of another make tells nothing of its requests; the rest is what was asked for.
nlohmann::ordered_json requestsOfHost(const Connection& connection) {
    try {
        return requestsOf(findHost(connection.instance));
    } catch (const std::exception& error) {
        fprintf(stderr, "orva: no requests are shown: %s\n", error.what());
        return nlohmann::ordered_json::array();
    }
}

void debug(const Connection& connection, const Options& options) {
    std::vector<std::string> texts;
    if (options.json) {
        texts.emplace_back("--json");
    }
    if (!options.client.empty()) {
        texts.insert(texts.end(), {"--client", options.client});
    }
    std::vector<std::pair<const char*, std::string>> states;
    if (options.service != "model-manager") {
        states.emplace_back("IAIService",
                            stateOf(*connect<AIService>(connection, kAnswersSoon), texts));
    }
    if (options.service != "ai") {
        states.emplace_back(
                "IModelManagerService",
                stateOf(*connect<ModelManagerService>(connection, kAnswersSoon), texts));
    }
    const nlohmann::ordered_json requests = requestsOfHost(connection);
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const auto& [service, state] : states) {
        if (state.empty()) {
            throw std::runtime_error("the service shows no state");
        }
        const nlohmann::ordered_json ours = requestsOf(requests, service, options.client);
        if (options.json) {
            all.push_back(nlohmann::ordered_json::parse(state));
            all.back()["latest_requests"] = ours;
        } else {
            say("%s%s%s", all.empty() ? "" : "\n", state.c_str(), requestsText(ours).c_str());
            all.push_back(nullptr);
        }
    }
    if (options.json) {
        puts(all.dump(2).c_str());
    }
}

}  // namespace

void addDebug(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(
            app, "debug",
            "Show the services' state: sessions, their latest requests and how long each has "
            "waited and run, memory, refusals",
            {"debug", "debug --client 4711 ai", "debug --json | less"});
    const auto options = std::make_shared<Options>();
    command->add_option("SERVICE", options->service, "Only this service")
            ->check(CLI::IsMember({"ai", "model-manager"}));
    command->add_option("--client", options->client,
                        "Only this client: its process id, or a session's id (as 4711:1)")
            ->check([](const std::string& client) {
                const size_t colon = client.find(':');
                const auto isNumber = [](const std::string& text) {
                    return !text.empty() && text.size() <= 10 &&
                           text.find_first_not_of("0123456789") == std::string::npos;
                };
                return isNumber(client.substr(0, colon)) && (colon == std::string::npos ||
                                                             isNumber(client.substr(colon + 1)))
                               ? std::string()
                               : "'" + client +
                                         "' is no process id (4711) or session's id (4711:1)";
            });
    command->add_flag("--json", options->json, "Print a JSON array");
    command->callback([connection, options] { debug(*connection, *options); });
}

}  // namespace orva::client
