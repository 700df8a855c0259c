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

// What the user gave to `run`: an image or files of raw bytes, and, where there is one, the model
// that says what they must look like.
struct RunSources {
    std::string model;
    std::string image;
    std::vector<std::string> inputs;
    std::vector<std::string> outputShapes;
};

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
    const std::vector<Tensor>& inputs() const { return inputs_; }
    const std::vector<Tensor>& outputs() const { return outputs_; }

    std::vector<OutputSummary> summaries() const;
    // The files that save() writes each output's bytes to.
    std::vector<std::string> outputFiles(const std::string& folder) const;
    void save(const std::string& folder) const;

private:
    void addImage(const std::string& path, TensorShape shape);
    void addFile(const std::string& path, const TensorShape* shape);
    void addOutputs(std::vector<TensorShape> shapes);

    const std::string tensorType_;
    std::vector<Model> models_;
    std::vector<Tensor> inputs_;
    std::vector<Tensor> outputs_;
    std::vector<TensorShape> outputShapes_;
};

}  // namespace orva::client
