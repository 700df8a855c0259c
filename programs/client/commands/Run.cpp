/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/commands/Requests.h"
#include "client/commands/RunTensors.h"
#include "client/io/Output.h"
#include "client/report/Profile.h"

namespace orva::client {

namespace {

struct Options {
    RunSources sources;
    std::string node = "onnx";
    std::string scale;
    std::string bias;
    std::string outputFolder;
    RequestOptions request;
    bool profile = false;
    bool json = false;
};

std::string configOf(const Options& options) {
    nlohmann::json config = nlohmann::json::object();
    if (!options.scale.empty()) {
        config["scale"] = options.scale;
    }
    if (!options.bias.empty()) {
        config["bias"] = options.bias;
    }
    if (options.profile) {
        config["profile"] = "true";
    }
    for (const std::string& shape : options.sources.inputShapes) {
        const size_t middle = shape.rfind('=');
        config["shape:" + shape.substr(0, middle)] = shape.substr(middle + 1);
    }
    return config.dump();
}

void print(const RunTensors& tensors, const RequestTimes& times, const Options& options) {
    const std::vector<OutputSummary> summaries = tensors.summaries();
    if (options.json) {
        nlohmann::json outputs = nlohmann::json::array();
        for (const OutputSummary& summary : summaries) {
            outputs.push_back(summary.json());
        }
        nlohmann::json json = {{"outputs", outputs}, {"latency", times.latency.json()}};
        if (options.profile) {
            json["profile"] = profileOf(times.context);
        }
        puts(json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
        return;
    }
    for (const OutputSummary& summary : summaries) {
        puts(summary.text().c_str());
    }
    puts(times.text().c_str());
    if (options.profile) {
        puts(profileText(profileOf(times.context)).c_str());
    }
}

void run(const Connection& connection, const Options& options) {
    RunTensors tensors(options.sources, options.request);
    if (!options.outputFolder.empty()) {
        requireOutputFolder(options.outputFolder);
        std::vector<std::string> sources = options.sources.inputs;
        sources.insert(sources.end(), {options.sources.model, options.sources.image});
        for (const std::string& path : tensors.outputFiles(options.outputFolder)) {
            requireOutputFile(path, sources);
        }
    }
    const RequestTimes times = request(connection, options.request, options.node, configOf(options),
                                       tensors.models(), tensors.inputs(), tensors.outputs());
    tensors.takeShapes(times.context);
    print(tensors, times, options);
    if (!options.outputFolder.empty()) {
        tensors.save(options.outputFolder);
        for (const std::string& path : tensors.outputFiles(options.outputFolder)) {
            if (!options.json) {
                printf("saved %s\n", path.c_str());
            }
        }
    }
}

}  // namespace

void addRun(CLI::App* app, const Connection* connection) {
    CLI::App* command =
            addCommand(app, "run", "Run a model on a picture or on raw tensors",
                       {"run --model m.onnx --image p.png --scale 0.00392 --json",
                        "run --model m.onnx --input a.bin --input b.bin --output results/",
                        "run --node echo --input a.bin --repeat 1000",
                        "run --model m.onnx --repeat 3 --profile",
                        "run --service model-manager --bind --model a.orva --input a.bin"});
    const auto options = std::make_shared<Options>();
    RunSources& sources = options->sources;
    command->add_option("--model", sources.model, "The model (ONNX)");
    CLI::Option* image = command->add_option(
            "--image", sources.image, "A picture, stretched to the size of the model's input");
    command->add_option("--input", sources.inputs,
                        "A file with the bytes of an input; once for each input, in order")
            ->excludes(image);
    command->add_option("--input-shape", sources.inputShapes,
                        "The shape of an input that the model leaves open, as NAME=1x3x480x640; "
                        "once for each");
    command->add_option("--output-shape", sources.outputShapes,
                        "The shape of an output, as 1x512x1; once for each output, in order, where "
                        "the model does not say");
    addMadeUpOption(command, &sources);
    addRequestOptions(command, &options->request);
    CLI::Option* node =
            command->add_option("--node", options->node, "Type of the service node that runs it")
                    ->capture_default_str();
    const CLI::Validator number = CLI::Validator(CLI::Number);
    command->add_option("--scale", options->scale,
                        "With --image: the node makes byte * scale + bias of each byte")
            ->check(number);
    command->add_option("--bias", options->bias, "See --scale")->check(number);
    command->add_option("--output", options->outputFolder,
                        "Folder to save the bytes of each output in");
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
        if (options->sources.model.empty() && !options->sources.image.empty()) {
            throw CLI::RequiredError(
                    "--image needs a --model, which says how large it must be; "
                    "--model");
        }
        run(*connection, *options);
    });
}

}  // namespace orva::client
