/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/RunTensors.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "client/io/File.h"
#include "client/model/MadeUp.h"
#include "client/model/ModelFile.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

std::vector<TensorShape> shapesOf(const std::vector<std::string>& texts,
                                  std::vector<TensorShape> declared) {
    if (!declared.empty() && texts.size() != declared.size()) {
        throw std::runtime_error("the model has " + std::to_string(declared.size()) +
                                 " outputs, but --output-shape was given " +
                                 std::to_string(texts.size()) + " times");
    }
    declared.resize(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        declared[i].dims = parseDims(texts[i]);
        declared[i].dimNames.clear();
    }
    return declared;
}

// Gives the model's inputs the shapes that were said, and what has the same name elsewhere the same
// size.
void close(const std::vector<std::string>& texts, ModelOutline* model) {
    std::map<std::string, int64_t> sizes;
    for (const std::string& text : texts) {
        const size_t middle = text.rfind('=');
        const std::string name = text.substr(0, middle);
        const auto input = std::find_if(model->inputs.begin(), model->inputs.end(),
                                        [&](const TensorShape& each) { return each.name == name; });
        if (middle == std::string::npos || input == model->inputs.end()) {
            throw std::runtime_error("--input-shape " + text +
                                     " names no input of the model; write NAME=1x3x480x640");
        }
        const std::vector<int64_t> dims = parseDims(text.substr(middle + 1));
        for (size_t i = 0; i < std::min(dims.size(), input->dimNames.size()); ++i) {
            sizes[input->dimNames[i]] = dims[i];
        }
        input->dims = dims;
    }
    sizes.erase("");
    for (std::vector<TensorShape>* shapes : {&model->inputs, &model->outputs}) {
        for (TensorShape& shape : *shapes) {
            for (size_t i = 0; i < std::min(shape.dims.size(), shape.dimNames.size()); ++i) {
                const auto size = sizes.find(shape.dimNames[i]);
                shape.dims[i] =
                        shape.dims[i] < 0 && size != sizes.end() ? size->second : shape.dims[i];
            }
        }
    }
}

void requireClosed(const std::vector<TensorShape>& shapes, const char* what, const char* option) {
    for (const TensorShape& shape : shapes) {
        if (shape.isOpen()) {
            throw std::runtime_error(std::string("the model's ") + what + " '" + shape.name +
                                     "' is " + shape.text() + ", in part open; " + option);
        }
    }
}

// A tensor's name may hold any character, a file's may not.
std::string fileName(size_t number, const std::string& name) {
    std::string safe = std::to_string(number) + (name.empty() ? "" : "-" + name);
    std::replace_if(
            safe.begin(), safe.end(),
            [](unsigned char c) { return std::isalnum(c) == 0 && c != '-' && c != '.'; }, '_');
    return safe + ".bin";
}

}  // namespace

RunTensors::RunTensors(const RunSources& sources, const RequestOptions& options,
                       const RunTensors* others)
        : tensorType_(options.tensorType), files_(others != nullptr ? others->files_ : nullptr) {
    const std::vector<std::string>& outputs = sources.outputShapes;
    if (sources.model.empty()) {
        addInputs(sources, {});
        std::vector<TensorShape> shapes;
        for (const Tensor& input : inputs_) {
            shapes.push_back({"", ElementType::kUint8, {static_cast<int64_t>(input.size())}});
        }
        addOutputs(outputs.empty() ? shapes : shapesOf(outputs, {}));
        return;
    }
    const ModelFile file = withProgress("reading", [&] { return ModelFile(sources.model); });
    ModelOutline model = file.pick(options.modelName);
    close(sources.inputShapes, &model);
    requireClosed(model.inputs, "input", "--input-shape NAME=1x3x480x640 says its shape");
    if (outputs.empty()) {
        requireClosed(model.outputs, "output", "--output-shape says how much room it gets");
    }
    addInputs(sources, model.inputs);
    addOutputs(outputs.empty() ? model.outputs : shapesOf(outputs, model.outputs));
    models_.push_back(withProgress("reading", [&] { return file.load(); }));
}

// The shapes are the model's; without one there are none.
void RunTensors::addInputs(const RunSources& sources, const std::vector<TensorShape>& shapes) {
    if (files_ == nullptr && !sources.image.empty()) {
        if (shapes.size() != 1) {
            throw std::runtime_error("the model has " + std::to_string(shapes.size()) +
                                     " inputs; give each one with --input");
        }
        files_ = std::make_shared<InputFiles>(sources.image,
                                              PictureInput(shapes[0], sources.numbers));
    } else if (files_ == nullptr && !sources.inputs.empty()) {
        files_ = shapes.empty() ? std::make_shared<InputFiles>(sources.inputs)
                                : std::make_shared<InputFiles>(sources.inputs, shapes);
    }
    std::vector<TensorShape> sent = files_ != nullptr ? files_->shapes() : shapes;
    if (sent.empty()) {
        sent.push_back({"", ElementType::kUint8, {static_cast<int64_t>(sources.madeUpBytes)}});
    }
    for (const TensorShape& shape : sent) {
        inputs_.emplace_back(shape.attributes(), shape.bytes(), tensorType_);
        if (files_ == nullptr && sources.madeUp == MadeUp::kRandom) {
            makeUp(shape, inputs_.back().data());
        }
    }
    take(0);
}

void RunTensors::addOutputs(std::vector<TensorShape> shapes) {
    declared_ = std::move(shapes);
    outputShapes_ = declared_;
    for (const TensorShape& shape : declared_) {
        outputs_.emplace_back(shape.attributes(), shape.bytes(), tensorType_);
    }
}

void RunTensors::keepFiles() {
    if (files_ != nullptr && files_->requests() > 1) {
        files_->keep();
    }
}

std::vector<std::string> RunTensors::files(size_t request) const {
    return files_ == nullptr ? std::vector<std::string>() : files_->names(request);
}

void RunTensors::take(size_t request) {
    if (files_ != nullptr && request_ != request) {
        files_->fill(request, &inputs_);
    }
    request_ = request;
}

void RunTensors::takeShapes(const std::string& context) {
    outputShapes_ = declared_;
    const nlohmann::json said = nlohmann::json::parse(context, nullptr, false);
    for (size_t i = 0; i < outputShapes_.size(); ++i) {
        TensorShape& shape = outputShapes_[i];
        const auto found = said.is_object() ? said.find("shape:" + shape.name) : said.end();
        if (found != said.end() && found->is_string()) {
            const std::string text = *found;
            shape.dims = text == "scalar" ? std::vector<int64_t>() : parseDims(text, 0);
        }
        if (shape.bytes() > outputs_[i].size()) {
            throw std::runtime_error("the service says that the output '" + shape.name + "' is " +
                                     shape.text() + ", which it has no room for");
        }
    }
}

// A request that no folder is given for has one result, without a name.
std::vector<std::string> RunTensors::namesOf(size_t request) const {
    std::vector<std::string> names = files(request);
    return names.empty() ? std::vector<std::string>{""} : names;
}

RunTensors::Part RunTensors::part(size_t output, size_t file) const {
    Part part = {outputShapes_[output], outputs_[output].data()};
    const size_t batch = files_ == nullptr ? 1 : files_->perRequest();
    if (batch > 1) {
        if (part.shape.dims.empty() || part.shape.dims[0] != static_cast<int64_t>(batch)) {
            throw std::runtime_error("the output '" + part.shape.name + "' is " +
                                     part.shape.text() + ", which is not one for each of the " +
                                     std::to_string(batch) + " inputs of a request");
        }
        part.shape.dims[0] = 1;
        part.data += file * part.shape.bytes();
    }
    return part;
}

std::vector<RunResult> RunTensors::results() const {
    std::vector<RunResult> results;
    for (const std::string& name : namesOf(*request_)) {
        RunResult result = {name, {}};
        for (size_t i = 0; i < outputs_.size(); ++i) {
            const Part one = part(i, results.size());
            result.outputs.push_back(OutputSummary::of(one.shape, one.data));
        }
        results.push_back(std::move(result));
    }
    return results;
}

std::vector<std::string> RunTensors::outputFiles(const std::string& folder, size_t request) const {
    std::vector<std::string> paths;
    for (const std::string& name : namesOf(request)) {
        const std::filesystem::path own =
                std::filesystem::path(folder) / std::filesystem::path(name).filename();
        for (size_t i = 0; i < outputs_.size(); ++i) {
            paths.push_back(own / fileName(i, declared_[i].name));
        }
    }
    return paths;
}

void RunTensors::save(const std::string& folder) const {
    const std::vector<std::string> paths = outputFiles(folder, *request_);
    for (size_t i = 0; i < paths.size(); ++i) {
        const Part one = part(i % outputs_.size(), i / outputs_.size());
        writeFile(paths[i], one.data, one.shape.bytes());
    }
}

}  // namespace orva::client
