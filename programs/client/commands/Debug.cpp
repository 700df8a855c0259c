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
#include "client/lib/Session.h"
#include "client/lib/StateDump.h"

namespace orva::client {

namespace {

struct Options {
    std::string service;  // Empty: both.
    std::string client;
    bool json = false;
};

void debug(const Connection& connection, const Options& options) {
    std::vector<std::string> texts;
    if (options.json) {
        texts.emplace_back("--json");
    }
    if (!options.client.empty()) {
        texts.insert(texts.end(), {"--client", options.client});
    }
    std::vector<std::string> states;
    if (options.service != "model-manager") {
        states.push_back(stateOf(*connect<AIService>(connection, kAnswersSoon), texts));
    }
    if (options.service != "ai") {
        states.push_back(stateOf(*connect<ModelManagerService>(connection, kAnswersSoon), texts));
    }
    nlohmann::json all = nlohmann::json::array();
    for (const std::string& state : states) {
        if (state.empty()) {
            throw std::runtime_error("the service shows no state");
        }
        if (options.json) {
            all.push_back(nlohmann::json::parse(state));
        } else {
            printf("%s%s", &state == &states.front() ? "" : "\n", state.c_str());
        }
    }
    if (options.json) {
        puts(all.dump(2).c_str());
    }
}

}  // namespace

void addDebug(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "debug",
                                   "Show the services' state: sessions, requests, memory, refusals",
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
