/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/Engine.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <orva/AINeuralNetworkBuffer.h>
#include <opencv2/core/utils/logger.hpp>

#include "onnx/CloseShapes.h"
#include "onnx/OnnxModel.h"

namespace orva::reference {

namespace {

[[noreturn]] void Refuse(const std::string& reason) {
    throw std::runtime_error(reason);
}

// The engine's settings are the process's. Requests of different nodes run beside each other, so
// each gets by with one thread; reasons for failures are logged where they are caught.
void SetUpEngine() {
    static const bool done = [] {
        cv::setNumThreads(1);
        cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
        cv::redirectError([](int, const char*, const char*, const char*, int, void*) { return 0; });
        return true;
    }();
    static_cast<void>(done);
}

bool IsOpen(const OnnxValue& value) {
    return !value.hasShape || std::count(value.dims.begin(), value.dims.end(), -1) != 0;
}

EngineTensor MakeTensor(const OnnxValue& value) {
    EngineTensor tensor;
    tensor.name = value.name;
    if (value.elementType == kOnnxFloat) {
        tensor.dataType = AI_DATA_TYPE_FLOAT32;
    } else if (value.elementType == kOnnxUint8) {
        tensor.dataType = AI_DATA_TYPE_UINT8;
    } else {
        Refuse("the element type of " + value.name + " is neither float nor uint8");
    }
    int64_t elements = 1;
    for (const int64_t dim : value.dims) {
        const int64_t size = dim < 0 ? kOpenDimension : dim;
        if (size == 0 || size > kMostElements / elements) {
            Refuse("the shape of " + value.name + " is out of range");
        }
        elements *= size;
        tensor.dims.push_back(static_cast<int>(size));
    }
    tensor.elements = static_cast<size_t>(elements);
    return tensor;
}

// A matrix of the tensor's shape over `data`, or with memory of its own when that is null.
cv::Mat Shape(const EngineTensor& tensor, int type, void* data) {
    const std::vector<int> dims = tensor.dims.empty() ? std::vector<int>{1} : tensor.dims;
    const int rank = static_cast<int>(dims.size());
    return data == nullptr ? cv::Mat(rank, dims.data(), type, cv::Scalar(0))
                           : cv::Mat(rank, dims.data(), type, data);
}

bool Fits(const EngineTensor& tensor, const BufferView& buffer) {
    if (buffer.dataType == AI_DATA_TYPE_UINT8) {
        return buffer.size == tensor.elements;
    }
    return buffer.dataType == AI_DATA_TYPE_FLOAT32 && tensor.dataType == AI_DATA_TYPE_FLOAT32 &&
           buffer.size == tensor.elements * sizeof(float);
}

bool AllFit(const char* what, const std::vector<EngineTensor>& tensors,
            const std::vector<BufferView>& buffers, std::string& reason) {
    if (tensors.size() != buffers.size()) {
        reason = std::to_string(buffers.size()) + " " + what + "s, the model has " +
                 std::to_string(tensors.size());
        return false;
    }
    for (size_t i = 0; i < tensors.size(); ++i) {
        if (!Fits(tensors[i], buffers[i])) {
            reason = std::string(what) + " " + std::to_string(i) + " (" + tensors[i].name +
                     ") has data type " + std::to_string(buffers[i].dataType) + " and " +
                     std::to_string(buffers[i].size) + " bytes for " +
                     std::to_string(tensors[i].elements) + " elements";
            return false;
        }
    }
    return true;
}

}  // namespace

std::shared_ptr<EngineMemory> Engine::DefaultMemory() {
    return std::make_shared<EngineMemory>(INT32_MAX);
}

Engine::Engine(ByteRange file, std::shared_ptr<EngineMemory> memory) : memory_(std::move(memory)) {
    OnnxModel model;
    std::string reason;
    if (!ReadOnnxModel(file, model, reason)) {
        Refuse(reason);
    }
    name_ = model.name;
    for (const OnnxValue& input : model.inputs) {
        inputs_.push_back(MakeTensor(input));
    }
    for (const OnnxValue& output : model.outputs) {
        outputs_.push_back(MakeTensor(output));
        outputNames_.push_back(output.name);
    }
    if (outputs_.empty()) {
        Refuse("the model has no output");
    }
    SetUpEngine();
    const EngineMemoryScope scope(memory_);
    std::vector<uint8_t> closed;
    if (std::any_of(model.inputs.begin(), model.inputs.end(), IsOpen)) {
        closed = CloseShapes(file, model);
        file = {closed.data(), closed.size()};
    }
    net_ = cv::dnn::readNetFromONNX(reinterpret_cast<const char*>(file.data), file.size);
    net_.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    net_.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);

    for (const EngineTensor& input : inputs_) {
        net_.setInput(Shape(input, CV_32F, nullptr), input.name);
    }
    std::vector<cv::Mat> results;
    Forward(results);
    for (size_t i = 0; i < outputs_.size(); ++i) {
        // What the model leaves open, the engine knows.
        if (IsOpen(model.outputs[i])) {
            outputs_[i].dims.assign(results[i].size.p, results[i].size.p + results[i].dims);
            outputs_[i].elements = results[i].total();
        } else if (results[i].total() != outputs_[i].elements) {
            Refuse("the engine makes " + std::to_string(results[i].total()) + " elements of " +
                   outputs_[i].name + ", the model " + std::to_string(outputs_[i].elements));
        }
    }
}

bool Engine::Accepts(const std::vector<BufferView>& inputs, const std::vector<BufferView>& outputs,
                     std::string& reason) const {
    return AllFit("input", inputs_, inputs, reason) && AllFit("output", outputs_, outputs, reason);
}

void Engine::Run(const std::vector<BufferView>& inputs, const std::vector<BufferView>& outputs,
                 const ByteConversion& conversion) {
    const EngineMemoryScope scope(memory_);
    for (size_t i = 0; i < inputs.size(); ++i) {
        const bool bytes = inputs[i].dataType == AI_DATA_TYPE_UINT8;
        cv::Mat blob = Shape(inputs_[i], bytes ? CV_8U : CV_32F, inputs[i].data);
        if (bytes) {
            cv::Mat floats;
            const bool asIs = inputs_[i].dataType == AI_DATA_TYPE_UINT8;
            blob.convertTo(floats, CV_32F, asIs ? 1 : conversion.scale, asIs ? 0 : conversion.bias);
            blob = floats;
        }
        // The engine keeps a copy of it.
        net_.setInput(blob, inputs_[i].name);
    }
    std::vector<cv::Mat> results;
    Forward(results);
    for (size_t i = 0; i < outputs.size(); ++i) {
        if (results[i].total() != outputs_[i].elements) {
            Refuse("the engine changed the size of " + outputs_[i].name);
        }
        const bool bytes = outputs[i].dataType == AI_DATA_TYPE_UINT8;
        cv::Mat out(results[i].dims, results[i].size.p, bytes ? CV_8U : CV_32F, outputs[i].data);
        results[i].convertTo(out, out.type());
    }
}

void Engine::Forward(std::vector<cv::Mat>& results) {
    net_.forward(results, outputNames_);
    if (results.size() != outputs_.size()) {
        Refuse("the engine made " + std::to_string(results.size()) + " of " +
               std::to_string(outputs_.size()) + " outputs");
    }
}

}  // namespace orva::reference
