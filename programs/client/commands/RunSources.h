/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/model/PictureInput.h"

namespace orva::client {

// What the bytes of an input are that nobody gives: the same on each run.
enum class MadeUp { kRandom, kZero };

// What the user gave for the inputs: a picture or files of raw bytes, or folders of those, and,
// where there is one, the model that says what they must look like. Without either, inputs are made
// up.
struct RunSources {
    std::string model;
    std::string image;
    PictureNumbers numbers;
    std::vector<std::string> inputs;
    // Each NAME=1x3x480x640, for inputs that the model leaves open.
    std::vector<std::string> inputShapes;
    std::vector<std::string> outputShapes;
    MadeUp madeUp = MadeUp::kRandom;
    size_t madeUpBytes = 4096;  // Without a model, of the one input.

    // The session's configuration that goes with them.
    nlohmann::json config() const;
    // What is read, files and folders.
    std::vector<std::string> paths() const;
};

// Adds the options that say so, but for the model and the outputs.
void addSourceOptions(CLI::App* command, RunSources* sources);
// Throws CLI::ParseError when they do not fit together.
void checkSourceOptions(const RunSources& sources);

}  // namespace orva::client
