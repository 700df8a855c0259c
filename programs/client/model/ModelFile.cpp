/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/ModelFile.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <compiled/CompiledModel.h>
#include <onnx/ElementType.h>
#include <onnx/OnnxModel.h>
#include <nlohmann/json.hpp>

#include "client/io/File.h"
#include "client/lib/ServiceError.h"
#include "client/report/Latency.h"

namespace orva::client {

namespace {

std::string nameOf(const std::string& path) {
    return std::filesystem::path(path).stem();
}

// A compiled model's models have names of their own.
std::string describe(const std::string& path, bool compiled) {
    return nlohmann::json{{"name", compiled ? "" : nameOf(path)},
                          {"type", compiled ? "compiled" : "onnx"}}
            .dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

template <typename Bytes>
reference::ByteRange rangeOf(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

FileBytes openModel(const std::string& path) {
    const size_t size = sizeOfFile(path);
    if (size > kMostModelBytes) {
        throw std::runtime_error(path + " has " + sizeText(size) + "; a model has at most " +
                                 sizeText(kMostModelBytes));
    }
    return FileBytes(path);
}

Model modelOf(const std::string& path, const FileBytes& file,
              const std::function<void(size_t)>& advance) {
    SharedRegion bytes("orva model", file.size());
    file.copyTo(bytes.data(), advance);
    std::string description = describe(path, reference::IsCompiledModel(rangeOf(bytes)));
    return {std::move(description), std::move(bytes)};
}

// The text form is checked against all limits, so what a file says goes the same way.
template <typename Dims>
std::vector<int64_t> checkedDims(const Dims& dims) {
    std::string text;
    for (const auto dim : dims) {
        text += (text.empty() ? "" : "x") + std::to_string(std::max<int64_t>(dim, 1));
    }
    static_cast<void>(text.empty() ? std::vector<int64_t>() : parseDims(text));
    return {dims.begin(), dims.end()};
}

TensorShape shapeOf(const reference::EngineTensor& tensor) {
    if (reference::ElementTypeOf(tensor.dataType) == nullptr) {
        throw std::runtime_error("its tensor '" + tensor.name + "' is of an unknown type");
    }
    return {tensor.name, static_cast<ElementType>(tensor.dataType), checkedDims(tensor.dims),
            tensor.dimNames};
}

TensorShape shapeOf(const reference::OnnxValue& value) {
    const reference::ElementType* const type = reference::ElementTypeOfOnnx(value.elementType);
    if (type == nullptr) {
        throw std::runtime_error("its '" + value.name + "' is " +
                                 (value.elementType == 0
                                          ? "no tensor"
                                          : reference::OnnxTypeName(value.elementType)) +
                                 ", which cannot be sent");
    }
    return {value.name, static_cast<ElementType>(type->dataType), checkedDims(value.dims),
            value.dimNames};
}

template <typename Value>
std::vector<TensorShape> shapesOf(const std::vector<Value>& values) {
    std::vector<TensorShape> shapes;
    shapes.reserve(values.size());
    for (const Value& value : values) {
        shapes.push_back(shapeOf(value));
    }
    return shapes;
}

std::vector<ModelOutline> outlinesOf(const reference::CompiledModel& compiled) {
    std::vector<ModelOutline> outlines;
    for (const reference::CompiledEntry& entry : compiled.models) {
        outlines.push_back({entry.name, shapesOf(entry.inputs), shapesOf(entry.outputs)});
    }
    return outlines;
}

// Throws what is wrong with it. A source's model gets the name.
std::vector<ModelOutline> outlinesIn(const reference::ByteRange& file, const std::string& name) {
    const bool isCompiled = reference::IsCompiledModel(file);
    reference::CompiledModel compiled;
    reference::OnnxModel onnx;
    std::string reason;
    const bool whole = isCompiled ? ReadCompiledModel(file, compiled, reason)
                                  : ReadOnnxModel(file, onnx, reason);
    if (!whole) {
        throw std::runtime_error(std::string("is no usable ") + (isCompiled ? "compiled" : "ONNX") +
                                 " model: " + reason);
    }
    try {
        return isCompiled ? outlinesOf(compiled)
                          : std::vector<ModelOutline>{
                                    {name, shapesOf(onnx.inputs), shapesOf(onnx.outputs)}};
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("cannot be run: ") + error.what());
    }
}

}  // namespace

Model readModel(const std::string& path, const std::function<void(size_t)>& advance) {
    return modelOf(path, openModel(path), advance);
}

bool isCompiled(const Model& model) {
    return reference::IsCompiledModel(rangeOf(model.bytes));
}

std::vector<std::string> compiledNames(const uint8_t* bytes, size_t size) {
    std::vector<std::string> names;
    for (const ModelOutline& model : outlinesIn({bytes, size}, "")) {
        names.push_back(model.name);
    }
    return names;
}

std::string refusalText(const Model& model, int32_t status, const Refuser& refuser) {
    try {
        outlinesIn(rangeOf(model.bytes), "");
    } catch (const std::exception& error) {
        return statusText(status) + "; it " + error.what();
    }
    return statusText(status) + whyRefused(refuser, status);
}

ModelFile::ModelFile(const std::string& path) : path_(path), bytes_(openModel(path)) {
    try {
        models_ = outlinesIn(rangeOf(bytes_), nameOf(path));
    } catch (const std::exception& error) {
        throw std::runtime_error(path + " " + error.what());
    }
}

Model ModelFile::load() const {
    return modelOf(path_, bytes_, nullptr);
}

const ModelOutline& ModelFile::pick(const std::string& name) const {
    if (name.empty() && models_.size() == 1) {
        return models_[0];
    }
    std::string names;
    for (const ModelOutline& model : models_) {
        if (!name.empty() && model.name == name) {
            return model;
        }
        names += (names.empty() ? "'" : ", '") + model.name + "'";
    }
    throw std::runtime_error(path_ + " holds " +
                             (name.empty() ? std::to_string(models_.size()) + " models"
                                           : "no model '" + name + "'") +
                             "; --service model-manager --model-name picks one of " + names);
}

}  // namespace orva::client
