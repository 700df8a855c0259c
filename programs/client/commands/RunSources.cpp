/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/RunSources.h"

#include <cstdio>

namespace orva::client {

namespace {

// Digits enough to be read back as the same number.
std::string textOf(double number) {
    char text[32];
    snprintf(text, sizeof text, "%.17g", number);
    return text;
}

void addNumbers(CLI::App* command, const std::string& name, std::vector<double>* numbers,
                const std::string& description) {
    command->add_option(name, *numbers, description)
            ->delimiter(',')
            ->expected(1, 3)
            ->allow_extra_args(false)
            ->type_name("NUMBER or R,G,B");
}

}  // namespace

nlohmann::json RunSources::config() const {
    nlohmann::json config = nlohmann::json::object();
    if (numbers.areGiven() && !numbers.areByChannel()) {
        config["scale"] = textOf(numbers.factor());
        config["bias"] = textOf(numbers.offset());
    }
    for (const std::string& shape : inputShapes) {
        const size_t middle = shape.rfind('=');
        config["shape:" + shape.substr(0, middle)] = shape.substr(middle + 1);
    }
    return config;
}

std::vector<std::string> RunSources::paths() const {
    std::vector<std::string> paths = inputs;
    paths.insert(paths.end(), {model, image});
    return paths;
}

void addSourceOptions(CLI::App* command, RunSources* sources) {
    CLI::Option* image = command->add_option(
            "--image", sources->image,
            "A picture, stretched to the size of the model's input; or a folder of pictures");
    command->add_option("--input", sources->inputs,
                        "A file with the bytes of an input, or a folder of such files; once for "
                        "each input, in order")
            ->excludes(image)
            ->allow_extra_args(false);
    command->add_option("--input-shape", sources->inputShapes,
                        "The shape of an input that the model leaves open, as NAME=1x3x480x640; "
                        "once for each");
    addNumbers(command, "--mean", &sources->numbers.mean,
               "With --image: each byte becomes (byte - mean) * scale + bias where the model takes "
               "floats");
    addNumbers(command, "--scale", &sources->numbers.scale, "See --mean");
    addNumbers(command, "--bias", &sources->numbers.bias, "See --mean");
    command->add_option_function<std::string>(
                   "--fill",
                   [sources](const std::string& with) {
                       sources->madeUp = with == "zero" ? MadeUp::kZero : MadeUp::kRandom;
                   },
                   "What inputs hold that are not given; the same on each run")
            ->check(CLI::IsMember({"random", "zero"}))
            ->default_str("random");
}

void checkSourceOptions(const RunSources& sources) {
    if (sources.model.empty() && !sources.image.empty()) {
        throw CLI::RequiredError(
                "--image needs a --model, which says how large it must be; "
                "--model");
    }
    if (sources.image.empty() && sources.numbers.areGiven()) {
        throw CLI::ValidationError("--mean, --scale and --bias", "are for --image");
    }
    const PictureNumbers& numbers = sources.numbers;
    for (const auto& [name, list] : {std::pair("--mean", &numbers.mean),
                                     {"--scale", &numbers.scale},
                                     {"--bias", &numbers.bias}}) {
        if (list->size() == 2) {
            throw CLI::ValidationError(name, "takes one number, or three: R,G,B");
        }
    }
}

}  // namespace orva::client
