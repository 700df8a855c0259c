/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>

#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"

namespace orva::client {

namespace {

// The one transport that this runtime has.
constexpr char kTransport[] = "socket";

void list(const Connection& connection, bool asJson) {
    limitTime(connection, kAnswersSoon);
    std::vector<orva_platform::ServiceEntry> services;
    if (serviceFolderExists()) {
        services = orva_platform::listServices();
    }
    if (asJson) {
        nlohmann::json array = nlohmann::json::array();
        for (const auto& service : services) {
            array.push_back({{"interface", service.interface},
                             {"instance", service.instance},
                             {"transport", kTransport},
                             {"pid", service.pid}});
        }
        puts(array.dump(2).c_str());
        return;
    }
    if (services.empty()) {
        printf("nothing is served in %s; start orva-host\n",
               orva_platform::serviceDirectory().c_str());
        return;
    }
    size_t width = 0;
    for (const auto& service : services) {
        width = std::max(width, service.interface.size() + service.instance.size() + 1);
    }
    printf("%-*s  %-9s  %s\n", static_cast<int>(width), "NAME", "TRANSPORT", "PID");
    for (const auto& service : services) {
        const std::string name = service.interface + "/" + service.instance;
        printf("%-*s  %-9s  %d\n", static_cast<int>(width), name.c_str(), kTransport, service.pid);
    }
}

}  // namespace

void addList(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "list", "List what is served: name, transport, pid",
                                   {"list", "list --json"});
    const auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "Print a JSON array");
    command->callback([connection, asJson] { list(*connection, *asJson); });
}

}  // namespace orva::client
