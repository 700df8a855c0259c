/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/Engine.h"

#include <cstring>
#include <numeric>
#include <stdexcept>

namespace orva_bench {

namespace {

std::vector<int64_t> shapeOf(const Ort::TypeInfo& info) {
    const auto details = info.GetTensorTypeAndShapeInfo();
    if (details.GetElementType() != ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT) {
        throw std::runtime_error("the model's tensors are not all of floats");
    }
    return details.GetShape();
}

size_t elementsOf(const std::vector<int64_t>& shape) {
    return static_cast<size_t>(
            std::accumulate(shape.begin(), shape.end(), int64_t{1}, std::multiplies<>()));
}

std::vector<const char*> namesOf(const Engine::Side& side) {
    std::vector<const char*> names;
    for (const std::string& name : side.names) {
        names.push_back(name.c_str());
    }
    return names;
}

}  // namespace

std::vector<size_t> Engine::Side::sizes() const {
    std::vector<size_t> sizes;
    for (const auto& shape : shapes) {
        sizes.push_back(elementsOf(shape) * sizeof(float));
    }
    return sizes;
}

std::vector<Ort::Value> Engine::Side::over(const std::vector<void*>& memory) const {
    const auto info = Ort::MemoryInfo::CreateCpu(OrtDeviceAllocator, OrtMemTypeCPU);
    std::vector<Ort::Value> values;
    for (size_t i = 0; i < shapes.size(); ++i) {
        values.push_back(Ort::Value::CreateTensor<float>(info, static_cast<float*>(memory[i]),
                                                         elementsOf(shapes[i]), shapes[i].data(),
                                                         shapes[i].size()));
    }
    return values;
}

std::vector<Ort::Value> Engine::Side::zeros() const {
    Ort::AllocatorWithDefaultOptions allocator;
    std::vector<Ort::Value> values;
    for (const auto& shape : shapes) {
        values.push_back(Ort::Value::CreateTensor<float>(allocator, shape.data(), shape.size()));
        std::memset(values.back().GetTensorMutableRawData(), 0,
                    values.back().GetTensorSizeInBytes());
    }
    return values;
}

Engine::Engine(const std::string& path) : env_(ORT_LOGGING_LEVEL_FATAL, "bench") {
    Ort::SessionOptions options;
    options.SetIntraOpNumThreads(1);
    options.SetInterOpNumThreads(1);
    session_ = Ort::Session(env_, path.c_str(), options);
    Ort::AllocatorWithDefaultOptions allocator;
    for (size_t i = 0; i < session_.GetInputCount(); ++i) {
        inputs_.names.emplace_back(session_.GetInputNameAllocated(i, allocator).get());
        inputs_.shapes.push_back(shapeOf(session_.GetInputTypeInfo(i)));
    }
    for (size_t i = 0; i < session_.GetOutputCount(); ++i) {
        outputs_.names.emplace_back(session_.GetOutputNameAllocated(i, allocator).get());
        outputs_.shapes.push_back(shapeOf(session_.GetOutputTypeInfo(i)));
    }
}

void Engine::run(const std::vector<Ort::Value>& inputs, std::vector<Ort::Value>& outputs) {
    const std::vector<const char*> in = namesOf(inputs_);
    const std::vector<const char*> out = namesOf(outputs_);
    session_.Run(Ort::RunOptions{}, in.data(), inputs.data(), in.size(), out.data(), outputs.data(),
                 out.size());
}

}  // namespace orva_bench
