/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/commands/InputFiles.h"
#include "client/commands/Requests.h"
#include "client/commands/RunSources.h"
#include "client/lib/Session.h"
#include "client/model/TensorShape.h"
#include "client/report/OutputSummary.h"

namespace orva::client {

// What came of one file, or of a request where no folder is given.
struct RunResult {
    std::string file;  // Empty then.
    std::vector<OutputSummary> outputs;
};

// The tensors of requests in shared memory, the same for one request after the other. Without a
// model an input is what its file holds, in bytes, and each output is like the input of its number.
class RunTensors {
public:
    // Throws std::exception, saying what does not fit, when no request can be made of the sources.
    // The inputs are the first request's. Of the same sources as those of others, it has their
    // files.
    RunTensors(const RunSources& sources, const RequestOptions& options,
               const RunTensors* others = nullptr);

    const std::vector<Model>& models() const { return models_; }
    // For when sessions have them.
    void dropModels() { models_.clear(); }
    const std::vector<Tensor>& inputs() const { return inputs_; }
    const std::vector<Tensor>& outputs() const { return outputs_; }

    // Reads all files now, as InputFiles::keep().
    void keepFiles();
    size_t requests() const { return files_ == nullptr ? 1 : files_->requests(); }
    // The files of a request; empty where no folder is given.
    std::vector<std::string> files(size_t request) const;
    // Has the inputs be a request's.
    void take(size_t request);

    // Gives outputs the shapes that a result's context says they have come to have.
    void takeShapes(const std::string& context);
    // What came of the request. Throws std::runtime_error when it was for several files, and the
    // outputs do not tell them apart.
    std::vector<RunResult> results() const;
    // Where save() puts what comes of a request: each output's bytes in a file, of each input file
    // in a folder of its name.
    std::vector<std::string> outputFiles(const std::string& folder, size_t request) const;
    void save(const std::string& folder) const;

private:
    // Of an output, what belongs to one file.
    struct Part {
        TensorShape shape;
        const uint8_t* data;
    };

    void addInputs(const RunSources& sources, const std::vector<TensorShape>& shapes);
    void addOutputs(std::vector<TensorShape> shapes);
    std::vector<std::string> namesOf(size_t request) const;
    Part part(size_t output, size_t file) const;

    const std::string tensorType_;
    std::vector<Model> models_;
    std::shared_ptr<InputFiles> files_;  // Empty when all is made up.
    std::optional<size_t> request_;      // whose inputs are there
    std::vector<Tensor> inputs_;
    std::vector<Tensor> outputs_;
    std::vector<TensorShape> declared_;      // of the outputs
    std::vector<TensorShape> outputShapes_;  // as they have come to be
};

}  // namespace orva::client
