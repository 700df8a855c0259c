/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/commands/Requests.h"
#include "client/commands/RunTensors.h"
#include "client/io/Output.h"
#include "client/io/Terminal.h"
#include "client/report/Profile.h"

namespace orva::client {

namespace {

struct Options {
    RunSources sources;
    std::string node = "onnx";
    std::string outputFolder;
    RequestOptions request;
    bool profile = false;
    bool json = false;
};

nlohmann::json jsonOf(const RunResult& result) {
    nlohmann::json outputs = nlohmann::json::array();
    for (const OutputSummary& summary : result.outputs) {
        outputs.push_back(summary.json());
    }
    nlohmann::json json = {{"outputs", outputs}};
    if (!result.file.empty()) {
        json["file"] = result.file;
    }
    return json;
}

void print(const std::vector<RunResult>& results, const RequestTimes& times,
           const Options& options) {
    const bool several = !results.front().file.empty();
    if (options.json) {
        nlohmann::json json = {{"latency", times.latency.json()}};
        for (const RunResult& result : results) {
            if (several) {
                json["files"].push_back(jsonOf(result));
            } else {
                json.update(jsonOf(result));
            }
        }
        if (options.profile) {
            json["profile"] = profileOf(times.context);
        }
        puts(json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
        return;
    }
    for (const RunResult& result : results) {
        if (several) {
            say("%s\n", result.file.c_str());
        }
        for (const OutputSummary& summary : result.outputs) {
            say("%s%s\n", several ? "  " : "", summary.text().c_str());
        }
    }
    say("%s\n", times.text().c_str());
    if (options.profile) {
        say("%s\n", profileText(profileOf(times.context)).c_str());
    }
}

void requireOutputs(const RunTensors& tensors, const Options& options) {
    requireOutputFolder(options.outputFolder);
    for (size_t i = 0; i < tensors.requests(); ++i) {
        for (const std::string& path : tensors.outputFiles(options.outputFolder, i)) {
            requireOutputFolder(std::filesystem::path(path).parent_path());
            requireOutputFile(path, options.sources.paths());
        }
    }
}

void run(const Connection& connection, const Options& options) {
    RunTensors tensors(options.sources, options.request);
    const bool saves = !options.outputFolder.empty();
    if (saves) {
        requireOutputs(tensors, options);
    }
    nlohmann::json config = options.sources.config();
    if (options.profile) {
        config["profile"] = "true";
    }
    std::vector<RunResult> results;
    const RequestTurns turns = {tensors.requests(), [&](size_t i) { tensors.take(i); },
                                [&](const std::string& context) {
                                    tensors.takeShapes(context);
                                    for (RunResult& result : tensors.results()) {
                                        results.push_back(std::move(result));
                                    }
                                    if (saves) {
                                        tensors.save(options.outputFolder);
                                    }
                                }};
    const RequestTimes times =
            request(connection, options.request, options.node, config.dump(), tensors.models(),
                    tensors.inputs(), tensors.outputs(), turns);
    print(results, times, options);
    for (size_t i = 0; saves && !options.json && i < tensors.requests(); ++i) {
        for (const std::string& path : tensors.outputFiles(options.outputFolder, i)) {
            say("saved %s\n", path.c_str());
        }
    }
}

}  // namespace

void addRun(CLI::App* app, const Connection* connection) {
    CLI::App* command =
            addCommand(app, "run", "Run a model on a picture or on raw tensors",
                       {"run --model m.onnx --image p.png --scale 0.00392 --json",
                        "run --model m.onnx --image photos/ --mean 124,116,104 --scale 0.0171",
                        "run --model m.onnx --input a.bin --input b.bin --output results/",
                        "run --node echo --input a.bin --repeat 1000",
                        "run --model m.onnx --repeat 3 --profile",
                        "run --service model-manager --bind --model a.orva --input a.bin"});
    const auto options = std::make_shared<Options>();
    RunSources& sources = options->sources;
    command->add_option("--model", sources.model, "The model (ONNX)");
    addSourceOptions(command, &sources);
    command->add_option("--output-shape", sources.outputShapes,
                        "The shape of an output, as 1x512x1; once for each output, in order, where "
                        "the model does not say");
    addRequestOptions(command, &options->request);
    CLI::Option* node =
            command->add_option("--node", options->node, "Type of the service node that runs it")
                    ->capture_default_str();
    command->add_option("--output", options->outputFolder,
                        "Folder to save the bytes of each output in; of folders of inputs, below "
                        "it one for each file");
    command->add_flag("--profile", options->profile,
                      "Print the slowest operators of the last request, which takes longer for it");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([connection, options, node] {
        checkRequestOptions(options->request);
        if (options->request.modelManager && node->count() != 0) {
            throw CLI::ValidationError("--node",
                                       "is for the general service; a model manager has none");
        }
        if (options->sources.model.empty() && options->sources.inputs.empty() &&
            options->sources.image.empty()) {
            throw CLI::RequiredError("--model, --image or --input");
        }
        checkSourceOptions(options->sources);
        run(*connection, *options);
    });
}

}  // namespace orva::client
