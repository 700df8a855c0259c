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
#include "client/lib/ManagerSession.h"
#include "client/model/ModelFile.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

void check(const Connection& connection, const std::vector<std::string>& paths, bool asJson) {
    const auto service = connect<ModelManagerService>(connection, kMayTakeLong);
    nlohmann::json verdicts = nlohmann::json::array();
    std::string refused;
    size_t refusals = 0;
    for (const std::string& path : paths) {
        const Model model = withProgress("reading", [&] { return readModel(path); });
        const int32_t status =
                withProgress("checking", [&] { return checkCompatibility(*service, model); });
        nlohmann::json verdict = {{"file", path}, {"compatible", status == 0}, {"status", status}};
        if (status != 0) {
            const std::string reason = refusalText(model, status, {service, 0});
            refused.append("\n  ").append(path).append(": ").append(reason);
            ++refusals;
            verdict["reason"] = reason;
        } else if (!asJson) {
            say("%s is compatible\n", path.c_str());
        }
        verdicts.push_back(std::move(verdict));
    }
    if (asJson) {
        puts(verdicts.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
    }
    if (refusals != 0) {
        throw std::runtime_error(std::to_string(refusals) + " of " + std::to_string(paths.size()) +
                                 (paths.size() == 1 ? " model" : " models") +
                                 " cannot run there:" + refused);
    }
}

}  // namespace

void addCheck(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "check", "See whether models can run there",
                                   {"check a.onnx b.onnx both.orva", "check --json a.onnx"});
    const auto paths = std::make_shared<std::vector<std::string>>();
    const auto asJson = std::make_shared<bool>(false);
    command->add_option("FILE", *paths, "Models, as they are or compiled")->required();
    command->add_flag("--json", *asJson, "Print a JSON array");
    command->callback([connection, paths, asJson] { check(*connection, *paths, *asJson); });
}

}  // namespace orva::client
