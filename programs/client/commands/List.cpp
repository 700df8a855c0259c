/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <map>
#include <memory>

#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/io/Terminal.h"
#include "client/lib/StateDump.h"
#include "client/report/HostNodes.h"
#include "client/report/HostState.h"
#include "client/report/Latency.h"

namespace orva::client {

namespace {

// The one transport that this runtime has.
constexpr char kTransport[] = "socket";
constexpr size_t kOtherColumns = 20;

// Who serves, and for whom.
class Server {
public:
    explicit Server(const orva_platform::ServiceEntry& entry)
            : facts_(processFacts(entry.pid).value_or(ProcessFacts{"gone", 0, 0})) {
        std::string dump;
        if (entry.interface == AIService::descriptor) {
            dump = stateOf(*findService<AIService>(entry.instance), {"--json"});
        } else if (entry.interface == ModelManagerService::descriptor) {
            dump = stateOf(*findService<ModelManagerService>(entry.instance), {"--json"});
        } else {
            return;  // An older version of one of them: the same object.
        }
        for (const SessionState& session : serviceStateOf(dump).sessions) {
            ++clients_[session.pid()];
        }
        try {
            const std::string service = entry.interface.substr(entry.interface.rfind(':') + 1);
            for (const HostNode& node : nodesOf(entry.pid)) {
                if (node.service == service && node.type) {
                    nodes_.push_back(*node.type);
                }
            }
        } catch (const std::runtime_error&) {
            // It does not tell.
        }
    }

    void print() const {
        say("  served by %s, %u threads, %s\n", facts_.program.c_str(), facts_.threads,
            sizeText(facts_.residentBytes).c_str());
        for (const std::string& node : nodes_) {
            say("  node %s\n", node.c_str());
        }
        for (const auto& [pid, sessions] : clients_) {
            say("  client %d %s, %zu session%s\n", pid, programOf(pid).c_str(), sessions,
                sessions == 1 ? "" : "s");
        }
    }

    void addTo(nlohmann::json* service) const {
        (*service)["program"] = facts_.program;
        (*service)["threads"] = facts_.threads;
        (*service)["resident_bytes"] = facts_.residentBytes;
        (*service)["nodes"] = nodes_;
        nlohmann::json& list = (*service)["clients"] = nlohmann::json::array();
        for (const auto& [pid, sessions] : clients_) {
            list.push_back({{"pid", pid}, {"program", programOf(pid)}, {"sessions", sessions}});
        }
    }

private:
    static std::string programOf(pid_t pid) {
        const auto facts = processFacts(pid);
        return facts ? facts->program : "gone";
    }

    const ProcessFacts facts_;
    std::vector<std::string> nodes_;
    std::map<pid_t, size_t> clients_;  // with how many sessions
};

void list(const Connection& connection, bool isLong, bool asJson) {
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
            if (isLong) {
                Server(service).addTo(&array.back());
            }
        }
        puts(array.dump(2).c_str());
        return;
    }
    if (services.empty()) {
        say("nothing is served in %s; start orva-host\n",
            orva_platform::serviceDirectory().c_str());
        return;
    }
    size_t width = 0;
    for (const auto& service : services) {
        width = std::max(width, service.interface.size() + service.instance.size() + 1);
    }
    // Without columns where there is no room for them.
    if (width + kOtherColumns > terminalWidth().value_or(SIZE_MAX)) {
        width = 0;
    }
    say("%-*s  %-9s  %s\n", static_cast<int>(width), "NAME", "TRANSPORT", "PID");
    for (const auto& service : services) {
        const std::string name = service.interface + "/" + service.instance;
        say("%-*s  %-9s  %d\n", static_cast<int>(width), name.c_str(), kTransport, service.pid);
        if (isLong) {
            Server(service).print();
        }
    }
}

}  // namespace

void addList(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "list", "List what is served: name, transport, pid",
                                   {"list", "list --long", "list --json"});
    const auto asJson = std::make_shared<bool>(false), isLong = std::make_shared<bool>(false);
    command->add_flag("-l,--long", *isLong,
                      "Also who serves it, with how many threads and how much memory, its nodes, "
                      "and its clients and their sessions");
    command->add_flag("--json", *asJson, "Print a JSON array");
    command->callback([connection, isLong, asJson] { list(*connection, *isLong, *asJson); });
}

}  // namespace orva::client
