/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/RunTensors.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/io/File.h"
#include "client/io/PictureFile.h"
#include "client/model/MadeUp.h"
#include "client/model/ModelFile.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

constexpr size_t kFirstValues = 5;

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

void addMadeUpOption(CLI::App* command, RunSources* sources) {
    command->add_option_function<std::string>(
                   "--fill",
                   [sources](const std::string& with) {
                       sources->madeUp = with == "zero" ? MadeUp::kZero : MadeUp::kRandom;
                   },
                   "What inputs hold that are not given; the same on each run")
            ->check(CLI::IsMember({"random", "zero"}))
            ->default_str("random");
}

RunTensors::RunTensors(const RunSources& sources, const RequestOptions& options)
        : tensorType_(options.tensorType) {
    if (sources.model.empty()) {
        std::vector<TensorShape> shapes;
        if (sources.inputs.empty()) {
            shapes.push_back(
                    {"", ElementType::kUint8, {static_cast<int64_t>(sources.madeUpBytes)}});
            addMadeUp(shapes[0], sources.madeUp);
        }
        for (const std::string& path : sources.inputs) {
            addFile(path, nullptr);
            shapes.push_back(
                    {"", ElementType::kUint8, {static_cast<int64_t>(inputs_.back().size())}});
        }
        addOutputs(sources.outputShapes.empty() ? shapes : shapesOf(sources.outputShapes, {}));
        return;
    }
    const ModelFile file = withProgress("reading", [&] { return ModelFile(sources.model); });
    ModelOutline model = file.pick(options.modelName);
    close(sources.inputShapes, &model);
    requireClosed(model.inputs, "input", "--input-shape NAME=1x3x480x640 says its shape");
    if (sources.outputShapes.empty()) {
        requireClosed(model.outputs, "output", "--output-shape says how much room it gets");
    }
    if (!sources.image.empty()) {
        if (model.inputs.size() != 1) {
            throw std::runtime_error("the model has " + std::to_string(model.inputs.size()) +
                                     " inputs; give each one with --input");
        }
        addImage(sources.image, model.inputs[0]);
    } else if (sources.inputs.empty()) {
        for (const TensorShape& shape : model.inputs) {
            addMadeUp(shape, sources.madeUp);
        }
    } else {
        if (model.inputs.size() != sources.inputs.size()) {
            throw std::runtime_error("the model has " + std::to_string(model.inputs.size()) +
                                     " inputs, but --input was given " +
                                     std::to_string(sources.inputs.size()) + " times");
        }
        for (size_t i = 0; i < sources.inputs.size(); ++i) {
            addFile(sources.inputs[i], &model.inputs[i]);
        }
    }
    addOutputs(sources.outputShapes.empty() ? model.outputs
                                            : shapesOf(sources.outputShapes, model.outputs));
    models_.push_back(withProgress("reading", [&] { return file.load(); }));
}

void RunTensors::addImage(const std::string& path, TensorShape shape) {
    const PictureLayout layout = pictureLayout(shape.dims);
    if (layout == PictureLayout::kNone) {
        throw std::runtime_error("the model's input is " + shape.text() +
                                 ", which is no picture; give its bytes with --input");
    }
    const bool planes = layout == PictureLayout::kChannelsFirst;
    const int64_t channels = shape.dims[planes ? 1 : 3];
    const auto height = static_cast<int>(shape.dims[planes ? 2 : 1]);
    const auto width = static_cast<int>(shape.dims[planes ? 3 : 2]);
    const Pixels picture = readPicture(path);
    const std::vector<uint8_t> bytes = channels == 1 ? grey(picture, width, height)
                                                     : stretched(picture, width, height, planes);
    // The node makes floats of bytes where the model wants floats.
    shape.type = ElementType::kUint8;
    inputs_.emplace_back(shape.attributes(), bytes.size(), tensorType_);
    std::memcpy(inputs_.back().data(), bytes.data(), bytes.size());
}

void RunTensors::addMadeUp(const TensorShape& shape, MadeUp how) {
    inputs_.emplace_back(shape.attributes(), shape.bytes(), tensorType_);
    if (how == MadeUp::kRandom) {
        makeUp(shape, inputs_.back().data());
    }
}

void RunTensors::addFile(const std::string& path, const TensorShape* shape) {
    const size_t size = sizeOfFile(path);
    if (shape == nullptr && size > kMostTensorBytes) {
        throw std::runtime_error(path + " has " + sizeText(size) + "; a tensor has at most " +
                                 sizeText(kMostTensorBytes));
    }
    TensorShape taken = {"", ElementType::kUint8, {static_cast<int64_t>(size)}};
    if (shape != nullptr) {
        if (size != shape->bytes()) {
            throw std::runtime_error(path + " has " + std::to_string(size) +
                                     " bytes, but the model's input '" + shape->name + "' (" +
                                     nameOf(shape->type) + " " + shape->text() + ") takes " +
                                     std::to_string(shape->bytes()));
        }
        taken = *shape;
    }
    const FileBytes file(path);
    inputs_.emplace_back(taken.attributes(), size, tensorType_);
    if (file.size() != size) {
        throw std::runtime_error(path + " is being written to");
    }
    file.copyTo(inputs_.back().data());
}

void RunTensors::addOutputs(std::vector<TensorShape> shapes) {
    outputShapes_ = std::move(shapes);
    for (const TensorShape& shape : outputShapes_) {
        outputs_.emplace_back(shape.attributes(), shape.bytes(), tensorType_);
    }
}

void RunTensors::takeShapes(const std::string& context) {
    const nlohmann::json said = nlohmann::json::parse(context, nullptr, false);
    for (TensorShape& shape : outputShapes_) {
        const auto found = said.is_object() ? said.find("shape:" + shape.name) : said.end();
        if (found != said.end() && found->is_string()) {
            const std::string text = *found;
            shape.dims = text == "scalar" ? std::vector<int64_t>() : parseDims(text);
        }
    }
}

std::vector<OutputSummary> RunTensors::summaries() const {
    std::vector<OutputSummary> summaries;
    for (size_t i = 0; i < outputs_.size(); ++i) {
        summaries.push_back(OutputSummary::of(outputShapes_[i], outputs_[i]));
    }
    return summaries;
}

std::vector<std::string> RunTensors::outputFiles(const std::string& folder) const {
    std::vector<std::string> paths;
    for (size_t i = 0; i < outputs_.size(); ++i) {
        paths.push_back(std::filesystem::path(folder) / fileName(i, outputShapes_[i].name));
    }
    return paths;
}

void RunTensors::save(const std::string& folder) const {
    const std::vector<std::string> paths = outputFiles(folder);
    for (size_t i = 0; i < outputs_.size(); ++i) {
        writeFile(paths[i], outputs_[i].data(), outputs_[i].size());
    }
}

OutputSummary OutputSummary::of(const TensorShape& shape, const Tensor& tensor) {
    OutputSummary summary;
    summary.shape = shape;
    const size_t count = shape.elements();
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const double value = valueAt(shape.type, tensor.data() + i * sizeOf(shape.type));
        summary.min = i == 0 ? value : std::min(summary.min, value);
        summary.max = i == 0 ? value : std::max(summary.max, value);
        sum += value;
        if (i < kFirstValues) {
            summary.first.push_back(value);
        }
    }
    summary.mean = sum / static_cast<double>(count);
    return summary;
}

std::string OutputSummary::text() const {
    char numbers[128];
    snprintf(numbers, sizeof numbers, ": min %.6g, max %.6g, mean %.6g, first", min, max, mean);
    std::string text = (shape.name.empty() ? "output" : shape.name) + " " + nameOf(shape.type) +
                       " " + shape.text() + numbers;
    for (const double value : first) {
        snprintf(numbers, sizeof numbers, " %.6g", value);
        text += numbers;
    }
    return text + (shape.elements() > first.size() ? " …" : "");
}

nlohmann::json OutputSummary::json() const {
    return {{"name", shape.name},  {"type", nameOf(shape.type)},
            {"shape", shape.dims}, {"min", min},
            {"max", max},          {"mean", mean},
            {"first", first}};
}

}  // namespace orva::client
