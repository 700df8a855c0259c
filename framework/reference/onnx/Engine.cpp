/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/Engine.h"

#include <algorithm>
#include <utility>

#include <onnxruntime_session_options_config_keys.h>

#include "onnx/ElementType.h"
#include "onnx/OnnxModel.h"
#include "onnx/Refuse.h"

namespace orva::reference {

namespace {

// What the engine may compute ahead of any request, in bytes: together, and the least for a node.
constexpr size_t kMostFolded = size_t{1} << 30;
constexpr size_t kLeastFolded = size_t{1} << 16;
constexpr size_t kMostFoldedByNode = size_t{1} << 26;

Ort::SessionOptions OptionsFor(const OnnxModel& model, const EngineOptions& options,
                               size_t threads) {
    Ort::SessionOptions made;
    made.SetIntraOpNumThreads(static_cast<int>(threads));
    made.SetInterOpNumThreads(1);
    // The level beyond is the processor's, and what it writes is not for another.
    const bool writes = !options.optimisedPath.empty();
    made.SetGraphOptimizationLevel(writes ? ORT_ENABLE_EXTENDED : ORT_ENABLE_ALL);
    if (writes) {
        made.SetOptimizedModelFilePath(options.optimisedPath.c_str());
    }
    // Threads that wait for work leave the processor to others.
    made.AddConfigEntry(kOrtSessionOptionsConfigAllowIntraOpSpinning, "0");
    made.AddConfigEntry(kOrtSessionOptionsConfigUseEnvAllocators, "1");
    const size_t folded = std::clamp(kMostFolded / std::max<size_t>(model.constantNodes, 1),
                                     kLeastFolded, kMostFoldedByNode);
    made.AddConfigEntry(kOrtSessionOptionsConstantFoldingMaxOutputSizeInBytes,
                        std::to_string(folded).c_str());
    for (const auto& [name, size] : options.dimensions) {
        Ort::ThrowOnError(Ort::GetApi().AddFreeDimensionOverrideByName(made, name.c_str(), size));
    }
    return made;
}

const char* KindOf(ONNXType type) {
    switch (type) {
    case ONNX_TYPE_SEQUENCE:
        return "a sequence";
    case ONNX_TYPE_MAP:
        return "a map";
    case ONNX_TYPE_OPTIONAL:
        return "optional";
    case ONNX_TYPE_SPARSETENSOR:
        return "a sparse tensor";
    default:
        return "of no known kind";
    }
}

EngineTensor TensorOf(std::string name, const Ort::TypeInfo& info) {
    EngineTensor tensor;
    tensor.name = std::move(name);
    if (info.GetONNXType() != ONNX_TYPE_TENSOR) {
        Refuse(tensor.name + " is " + KindOf(info.GetONNXType()) +
               ", which cannot travel in a buffer");
    }
    const auto details = info.GetTensorTypeAndShapeInfo();
    const ElementType* const type = ElementTypeOfOnnx(details.GetElementType());
    if (type == nullptr) {
        Refuse(tensor.name + " is " + OnnxTypeName(details.GetElementType()) +
               ", which cannot travel in a buffer");
    }
    tensor.dataType = type->dataType;
    tensor.hasShape = details.HasShape();
    if (tensor.hasShape) {
        tensor.dims = details.GetShape();
        for (const char* dimName : details.GetSymbolicDimensions()) {
            tensor.dimNames.emplace_back(dimName);
        }
    }
    if (std::count(tensor.dims.begin(), tensor.dims.end(), -1) == 0 &&
        ElementsOf(tensor.dims) * static_cast<int64_t>(type->size) > kMostBytes) {
        Refuse(tensor.name + " is " + TextOf(tensor.dims) + ", more than a buffer can have");
    }
    return tensor;
}

// Whether a buffer has the type for a tensor, or is to be converted.
bool IsTypeFor(const EngineTensor& tensor, const BufferView& buffer) {
    return buffer.dataType == tensor.dataType ||
           (buffer.dataType == AI_DATA_TYPE_UINT8 && tensor.dataType == AI_DATA_TYPE_FLOAT32);
}

void RequireFit(const char* what, const std::vector<EngineTensor>& tensors,
                const std::vector<BufferView>& buffers) {
    if (tensors.size() != buffers.size()) {
        Refuse(std::to_string(buffers.size()) + " " + what + "s, the model has " +
               std::to_string(tensors.size()));
    }
    for (size_t i = 0; i < tensors.size(); ++i) {
        if (!IsTypeFor(tensors[i], buffers[i])) {
            const ElementType* const type = ElementTypeOf(buffers[i].dataType);
            Refuse(std::string(what) + " " + tensors[i].name + " is " +
                   ElementTypeOf(tensors[i].dataType)->name + ", its buffer " +
                   (type != nullptr ? type->name
                                    : "of data type " + std::to_string(buffers[i].dataType)));
        }
    }
}

}  // namespace

std::shared_ptr<EngineMemory> Engine::DefaultMemory() {
    return std::make_shared<EngineMemory>(INT32_MAX, Client::Calling());
}

// What the engine held at each stays behind.
constexpr int kMostFaults = 8;

Engine::Engine(ByteRange file, const EngineOptions& options, Cancellation& cancellation,
               std::shared_ptr<EngineMemory> memory)
        : file_(std::move(memory), file.size), threads_(options.threads - 1) {
    OnnxModel model;
    std::string reason;
    if (!ReadOnnxModel(file, model, reason)) {
        Refuse(reason);
    }
    if (model.outputs.empty()) {
        Refuse("the model has no output");
    }
    name_ = model.name;
    rereads_ = model.rereads;
    smallInputs_ = model.smallInputs;
    if (file_.memory()->client()->engineFaults >= kMostFaults) {
        Refuse("the engine found itself at fault over this process's models too often");
    }
    const Ort::Env& environment = Environment::Get().env;  // No model's memory.
    Ort::SessionOptions made = OptionsFor(model, options, threads_.count() + 1);
    guard_.Cover(made);
    const auto end = [&made] { made.SetLoadCancellationFlag(true); };
    const EngineMemoryScope scope(file_.memory(), end);
    try {
        const Cancellation::Listener listener(cancellation, end);
        if (!Guard([&] { session_ = Ort::Session(environment, file.data, file.size, made); })) {
            Refuse("the engine found itself at fault over this model");
        }
    } catch (const std::exception& error) {
        scope.RequireNotEnded();
        constexpr int64_t kOldest = 7;
        const bool isOld = model.operatorSet != 0 && model.operatorSet < kOldest;
        Refuse(isOld ? std::string(error.what()) + "; it is for operator set " +
                               std::to_string(model.operatorSet) +
                               ", and the engine knows those from 7 on"
                     : error.what());
    }
    Describe();
    file_.memory()->Trim();  // Runs will want other pieces than loading did.
}

bool Engine::Guard(const std::function<void()>& work) const {
    if (guard_.Run(work)) {
        return true;
    }
    EngineMemoryScope::Innermost()->Leave();
    Client& client = *file_.memory()->client();
    // Once for a model, and nobody's are not one process's.
    client.engineFaults += !broken_.exchange(true) && client.pid() != 0 ? 1 : 0;
    return false;
}

Engine::~Engine() {
    if (broken_) {
        static_cast<void>(session_.release());
    }
}

void Engine::Describe() {
    Ort::AllocatorWithDefaultOptions allocator;
    for (size_t i = 0; i < session_.GetInputCount(); ++i) {
        inputs_.push_back(TensorOf(session_.GetInputNameAllocated(i, allocator).get(),
                                   session_.GetInputTypeInfo(i)));
    }
    for (size_t i = 0; i < session_.GetOutputCount(); ++i) {
        outputs_.push_back(TensorOf(session_.GetOutputNameAllocated(i, allocator).get(),
                                    session_.GetOutputTypeInfo(i)));
    }
    for (const EngineTensor& input : inputs_) {
        inputNames_.push_back(input.name.c_str());
    }
    for (const EngineTensor& output : outputs_) {
        outputNames_.push_back(output.name.c_str());
    }
}

RequestShapes Engine::Settle(const std::vector<BufferView>& inputs,
                             const std::vector<BufferView>& outputs,
                             const ShapeChoices& choices) const {
    RequireFit("input", inputs_, inputs);
    RequireFit("output", outputs_, outputs);
    RequestShapes shapes = SettleShapes(inputs_, outputs_, inputs, choices);
    for (size_t i = 0; i < outputs.size(); ++i) {
        const size_t elementSize = ElementTypeOf(outputs[i].dataType)->size;
        const int64_t elements = ElementsOf(shapes.outputs[i]);
        if (outputs_[i].hasShape && elements > 0 &&
            outputs[i].size != static_cast<size_t>(elements) * elementSize) {
            Refuse("output " + outputs_[i].name + " is " + TextOf(shapes.outputs[i]) +
                   " and takes " + std::to_string(static_cast<size_t>(elements) * elementSize) +
                   " bytes, its buffer has " + std::to_string(outputs[i].size));
        }
    }
    return shapes;
}

}  // namespace orva::reference
