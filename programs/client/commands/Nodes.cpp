/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/io/Terminal.h"
#include "client/report/HostNodes.h"

namespace orva::client {

namespace {

void nodes(const Connection& connection, bool asJson) {
    limitTime(connection, kAnswersSoon);
    const std::vector<HostNode> nodes = nodesOf(findHost(connection.instance));
    if (!asJson) {
        fputs(nodesText(nodes, terminalWidth().value_or(SIZE_MAX)).c_str(), stdout);
        return;
    }
    nlohmann::json list = nlohmann::json::array();
    for (const HostNode& node : nodes) {
        list.push_back(node.json());
    }
    puts(list.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
}

}  // namespace

void addNodes(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "nodes", "List what a session can be opened with",
                                   {"nodes", "nodes --json | jq -r '.[].type'"});
    const auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "Print a JSON array");
    command->callback([connection, asJson] { nodes(*connection, *asJson); });
}

}  // namespace orva::client
