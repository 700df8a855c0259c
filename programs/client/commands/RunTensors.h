/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/commands/Requests.h"
#include "client/lib/Session.h"
#include "client/model/TensorShape.h"

namespace orva::client {

// What the bytes of an input are that nobody gives: the same on each run.
enum class MadeUp { kRandom, kZero };

// What the user gave to `run`: an image or files of raw bytes, and, where there is one, the model
// that says what they must look like. Without either, inputs are made up.
struct RunSources {
    std::string model;
    std::string image;
    std::vector<std::string> inputs;
    // Each NAME=1x3x480x640, for inputs that the model leaves open.
    std::vector<std::string> inputShapes;
    std::vector<std::string> outputShapes;
    MadeUp madeUp = MadeUp::kRandom;
    size_t madeUpBytes = 4096;  // Without a model, of the one input.
};

// Adds --fill, which says what to make up.
void addMadeUpOption(CLI::App* command, RunSources* sources);

// What an output tensor holds, in short.
struct OutputSummary {
    TensorShape shape;
    double min = 0;
    double max = 0;
    double mean = 0;
    std::vector<double> first;

    static OutputSummary of(const TensorShape& shape, const Tensor& tensor);
    // One line, for people.
    std::string text() const;
    nlohmann::json json() const;
};

// The tensors of one request in shared memory. Without a model an input is what its file holds, in
// bytes, and each output is like the input of its number.
class RunTensors {
public:
    // Throws std::exception, saying what does not fit, when no request can be made of the sources.
    RunTensors(const RunSources& sources, const RequestOptions& options);

    const std::vector<Model>& models() const { return models_; }
    // For when sessions have them.
    void dropModels() { models_.clear(); }
    const std::vector<Tensor>& inputs() const { return inputs_; }
    const std::vector<Tensor>& outputs() const { return outputs_; }

    // Gives outputs the shapes that a result's context says they have come to have.
    void takeShapes(const std::string& context);
    std::vector<OutputSummary> summaries() const;
    // The files that save() writes each output's bytes to.
    std::vector<std::string> outputFiles(const std::string& folder) const;
    void save(const std::string& folder) const;

private:
    void addImage(const std::string& path, TensorShape shape);
    void addMadeUp(const TensorShape& shape, MadeUp how);
    void addFile(const std::string& path, const TensorShape* shape);
    void addOutputs(std::vector<TensorShape> shapes);

    const std::string tensorType_;
    std::vector<Model> models_;
    std::vector<Tensor> inputs_;
    std::vector<Tensor> outputs_;
    std::vector<TensorShape> outputShapes_;
};

}  // namespace orva::client
