/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/ModelFile.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include <onnx/OnnxModel.h>
#include <nlohmann/json.hpp>

#include "client/io/File.h"

namespace orva::client {

namespace {

std::string nameOf(const std::string& path) {
    return std::filesystem::path(path).stem();
}

std::string describe(const std::string& path) {
    return nlohmann::json{{"name", nameOf(path)}, {"type", "onnx"}}.dump(
            -1, ' ', true, nlohmann::json::error_handler_t::replace);
}

TensorShape shapeOf(const reference::OnnxValue& value) {
    TensorShape shape;
    shape.name = value.name;
    switch (value.elementType) {
    case reference::kOnnxFloat:
        shape.type = ElementType::kFloat32;
        break;
    case reference::kOnnxUint8:
        shape.type = ElementType::kUint8;
        break;
    default:
        throw std::runtime_error("its tensor '" + value.name +
                                 "' is of a type that cannot be sent (float32 and uint8 can)");
    }
    // The text form is checked against all limits, so what a file says goes the same way.
    std::string text;
    for (const int64_t dim : value.dims) {
        text += (text.empty() ? "" : "x") + std::to_string(dim < 0 ? 1 : dim);
    }
    if (!text.empty()) {
        shape.dims = parseDims(text);
    }
    return shape;
}

std::vector<TensorShape> shapesOf(const std::vector<reference::OnnxValue>& values) {
    std::vector<TensorShape> shapes;
    shapes.reserve(values.size());
    for (const reference::OnnxValue& value : values) {
        shapes.push_back(shapeOf(value));
    }
    return shapes;
}

}  // namespace

Model readModel(const std::string& path, const std::function<void(size_t)>& advance) {
    return {describe(path), readIntoRegion(path, "orva model", advance)};
}

ModelFile::ModelFile(const std::string& path) : mPath(path), mModel(readModel(path)) {
    reference::OnnxModel outline;
    std::string reason;
    if (!reference::ReadOnnxModel({mModel.bytes.data(), mModel.bytes.size()}, outline, reason)) {
        throw std::runtime_error(path + " is no usable ONNX model: " + reason);
    }
    try {
        mModels.push_back({nameOf(path), shapesOf(outline.inputs), shapesOf(outline.outputs)});
    } catch (const std::exception& error) {
        throw std::runtime_error(path + " cannot be run: " + error.what());
    }
}

const ModelOutline& ModelFile::only() const {
    if (mModels.size() != 1) {
        throw std::runtime_error(mPath + " holds " + std::to_string(mModels.size()) +
                                 " models; only one can be run at a time");
    }
    return mModels[0];
}

}  // namespace orva::client
