/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>
#include <cmath>
#include <cstring>

#include "onnx/ElementType.h"
#include "onnx/Engine.h"
#include "onnx/NumberCheck.h"
#include "onnx/Refuse.h"

namespace orva::reference {

namespace {

// Operators check such numbers, and then use them as places, counts or conditions.
bool Steers(int dataType) {
    switch (dataType) {
    case AI_DATA_TYPE_INT32:
    case AI_DATA_TYPE_INT64:
    case AI_DATA_TYPE_UINT32:
    case AI_DATA_TYPE_UINT64:
    case AI_DATA_TYPE_BOOL:
        return true;
    default:
        return false;
    }
}

void CopyIn(const EngineTensor& tensor, const BufferView& buffer, size_t elements,
            const ByteConversion& conversion, Ort::Value& value) {
    if (elements == 0) {
        return;
    }
    if (buffer.dataType != tensor.dataType) {
        auto* const floats = value.GetTensorMutableData<float>();
        for (size_t i = 0; i < elements; ++i) {
            floats[i] = static_cast<float>(buffer.data[i] * conversion.scale + conversion.bias);
        }
        return;
    }
    auto* const bytes = static_cast<uint8_t*>(value.GetTensorMutableRawData());
    const size_t size = elements * ElementTypeOf(tensor.dataType)->size;
    std::memcpy(bytes, buffer.data, size);
    if (tensor.dataType == AI_DATA_TYPE_BOOL) {
        std::transform(bytes, bytes + size, bytes,
                       [](uint8_t byte) { return static_cast<uint8_t>(byte != 0); });
    }
}

void CopyOut(const EngineTensor& tensor, const Ort::Value& value, size_t elements,
             const BufferView& buffer) {
    const ElementType& type = *ElementTypeOf(buffer.dataType);
    if (elements > buffer.size / type.size) {
        Refuse("output " + tensor.name + " takes " + std::to_string(elements * type.size) +
               " bytes, its buffer has " + std::to_string(buffer.size));
    }
    if (elements == 0) {
        return;  // There is no address to copy from, either.
    }
    if (buffer.dataType == tensor.dataType) {
        std::memcpy(buffer.data, value.GetTensorRawData(), elements * type.size);
        return;
    }
    const auto* const floats = value.GetTensorData<float>();
    for (size_t i = 0; i < elements; ++i) {
        // What is no number becomes 0.
        const float bounded = floats[i] > 0 ? std::min(floats[i], 255.0F) : 0.0F;
        buffer.data[i] = static_cast<uint8_t>(std::nearbyint(bounded));
    }
}

// The kernel hands out a mapping's pages one by one where they are written to, and sixteen at a
// time where one of them is read, to be written to as well.
void PrepareToWrite(const BufferView& buffer) {
    constexpr size_t kHandedOut = size_t{1} << 16;
    for (size_t at = 0; at < buffer.size; at += kHandedOut) {
        static_cast<void>(*static_cast<const volatile uint8_t*>(buffer.data + at));
    }
}

}  // namespace

bool Engine::InPlace(const EngineTensor& tensor, const BufferView& buffer) const {
    return buffer.dataType == tensor.dataType && !Steers(tensor.dataType) && !rereads_;
}

Ort::Value Engine::InputValue(size_t i, const BufferView& buffer, const Dims& dims,
                              const ByteConversion& conversion) const {
    const EngineTensor& tensor = inputs_[i];
    const auto type = static_cast<ONNXTensorElementDataType>(ElementTypeOf(tensor.dataType)->onnx);
    Environment& environment = Environment::Get();
    if (InPlace(tensor, buffer)) {
        return Ort::Value::CreateTensor(environment.memory, buffer.data, buffer.size, dims.data(),
                                        dims.size(), type);
    }
    Ort::Value value =
            Ort::Value::CreateTensor(environment.allocator, dims.data(), dims.size(), type);
    const auto elements = static_cast<size_t>(ElementsOf(dims));
    CopyIn(tensor, buffer, elements, conversion, value);
    if (tensor.dataType == AI_DATA_TYPE_INT64 && smallInputs_.count(tensor.name) != 0) {
        const auto* const numbers = value.GetTensorData<int64_t>();
        if (!std::all_of(numbers, numbers + elements, IsSmall)) {
            Refuse("input " + tensor.name + " takes numbers of 32 bits only");
        }
    }
    return value;
}

// Those that are null the engine makes itself.
std::vector<Ort::Value> Engine::OutputValues(const std::vector<BufferView>& outputs,
                                             const RequestShapes& shapes, bool inPlace) const {
    std::vector<Ort::Value> values;
    for (size_t i = 0; i < outputs.size(); ++i) {
        const Dims& dims = shapes.outputs[i];
        const ElementType& type = *ElementTypeOf(outputs_[i].dataType);
        if (inPlace && InPlace(outputs_[i], outputs[i]) && outputs_[i].hasShape &&
            ElementsOf(dims) >= 0) {
            PrepareToWrite(outputs[i]);
            values.push_back(Ort::Value::CreateTensor(
                    Environment::Get().memory, outputs[i].data, outputs[i].size, dims.data(),
                    dims.size(), static_cast<ONNXTensorElementDataType>(type.onnx)));
        } else {
            values.emplace_back(nullptr);
        }
    }
    return values;
}

std::vector<Dims> Engine::Run(const std::vector<BufferView>& inputs,
                              const std::vector<BufferView>& outputs, const RequestShapes& shapes,
                              const ByteConversion& conversion, Ort::RunOptions& options) const {
    const EngineMemoryScope scope(file_.memory(), [&options] { options.SetTerminate(); });
    std::vector<Ort::Value> in;
    for (size_t i = 0; i < inputs.size(); ++i) {
        in.push_back(InputValue(i, inputs[i], shapes.inputs[i], conversion));
    }
    std::vector<Ort::Value> out;
    const auto run = [&](bool inPlace) {
        out = OutputValues(outputs, shapes, inPlace);
        // The engine's wrapper takes it for one that it may change.
        auto& session = const_cast<Ort::Session&>(session_);
        try {
            if (!Guard([&] {
                    session.Run(options, inputNames_.data(), in.data(), in.size(),
                                outputNames_.data(), out.data(), out.size());
                })) {
                Refuse("the engine found itself at fault over this request");
            }
        } catch (const Ort::Exception&) {
            scope.RequireNotEnded();
            throw;
        }
    };
    if (broken_) {
        Refuse("the engine has failed at this model before");
    }
    if (unreliable_) {
        run(false);
    } else {
        try {
            run(true);
        } catch (const Ort::Exception&) {
            // What a model says of its outputs need not be so, which the engine minds only where
            // their memory is not its own.
            run(false);
            unreliable_ = true;
        }
    }
    std::vector<Dims> made;
    for (size_t i = 0; i < outputs.size(); ++i) {
        const auto info = out[i].GetTensorTypeAndShapeInfo();
        made.push_back(info.GetShape());
        if (out[i].GetTensorRawData() != outputs[i].data) {
            CopyOut(outputs_[i], out[i], info.GetElementCount(), outputs[i]);
        }
    }
    return made;
}

}  // namespace orva::reference
