/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/io/Terminal.h"
#include "client/lib/ManagerSession.h"
#include "client/model/ModelFile.h"
#include "client/report/Latency.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

struct Tensors {
    const char* role;
    const std::vector<TensorShape>& outlined;  // Names and types, by the file.
    const std::vector<Dimensions>& records;    // By the service, which has four for each.

    std::string name(size_t i) const { return i < outlined.size() ? outlined[i].name : ""; }
    // As the file has it, with its names for open dimensions.
    std::string shape(size_t i) const {
        if (i < outlined.size()) {
            return outlined[i].text();
        }
        std::string text;
        for (const int32_t size : records[i]) {
            text += (text.empty() ? "" : "x") + (size < 0 ? "?" : std::to_string(size));
        }
        return text;
    }
    nlohmann::json dims(size_t i) const {
        return i < outlined.size() ? nlohmann::json(outlined[i].dims) : nlohmann::json(records[i]);
    }
    const char* type(size_t i) const {
        return i < outlined.size() ? nameOf(outlined[i].type) : "unknown";
    }
};

nlohmann::json jsonOf(const Tensors& tensors) {
    nlohmann::json json = nlohmann::json::array();
    for (size_t i = 0; i < tensors.records.size(); ++i) {
        json.push_back({{"name", tensors.name(i)},
                        {"type", tensors.type(i)},
                        {"shape", tensors.dims(i)},
                        {"record", tensors.records[i]}});
    }
    return json;
}

void print(const Tensors& tensors) {
    for (size_t i = 0; i < tensors.records.size(); ++i) {
        say("  %-6s  %-7s  %s  %s\n", tensors.role, tensors.type(i), tensors.shape(i).c_str(),
            tensors.name(i).c_str());
    }
}

void info(const Connection& connection, const std::string& path, bool asJson) {
    const ModelFile file = withProgress("reading", [&] { return ModelFile(path); });
    const std::vector<ModelOutline>& outlines = file.models();
    std::vector<Model> models;
    models.push_back(file.load());
    const auto service = connect<ModelManagerService>(connection, kMayTakeLong);
    const auto session = withProgress("opening the session", [&] {
        return std::make_unique<ManagerSession>(service, 1, "", models);
    });
    const int32_t validity = session->validity();
    const int32_t memory = withProgress("measuring", [&] { return session->maxUsedMemory(); });

    nlohmann::json described = nlohmann::json::array();
    for (const ModelOutline& outline : outlines) {
        // The only one needs no name, which may be a file's and no valid text.
        const ModelDimensions dimensions =
                session->dimensions(outlines.size() == 1 ? "" : outline.name);
        const Tensors inputs = {"input", outline.inputs, dimensions.inputs};
        const Tensors outputs = {"output", outline.outputs, dimensions.outputs};
        described.push_back(
                {{"name", outline.name}, {"inputs", jsonOf(inputs)}, {"outputs", jsonOf(outputs)}});
        if (!asJson) {
            say("%s\n", outline.name.c_str());
            print(inputs);
            print(outputs);
        }
    }
    if (asJson) {
        const nlohmann::json json = {
                {"file", path},       {"bytes", file.size()},      {"valid", validity == 0},
                {"status", validity}, {"max_used_memory", memory}, {"models", described}};
        puts(json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
    } else {
        say("%s in %s; %s; at most %s of memory used\n", sizeText(file.size()).c_str(),
            path.c_str(), validity == 0 ? "valid" : statusText(validity).c_str(),
            sizeText(static_cast<size_t>(std::max(memory, 0))).c_str());
    }
}

}  // namespace

void addInfo(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "info", "Show a model: names, shapes, memory, validity",
                                   {"info model.onnx", "info --json both.orva"});
    const auto path = std::make_shared<std::string>();
    const auto asJson = std::make_shared<bool>(false);
    command->add_option("FILE", *path, "The model, as it is or compiled")->required();
    command->add_flag("--json", *asJson, "Print JSON");
    command->callback([connection, path, asJson] { info(*connection, *path, *asJson); });
}

}  // namespace orva::client
