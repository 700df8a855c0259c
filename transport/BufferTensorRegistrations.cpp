/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What the shared-memory tensor registers while the library is loaded. These run before the ION
// tensor's registrations, which then take precedence for the ION name.

#include <new>

#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/TensorRegistrars.h"

namespace orva::hidl {

namespace {

constexpr char kBufferType[] = "AINeuralNetworkBuffer";
constexpr char kIonBufferType[] = "AINeuralNetworkIonBuffer";

template <typename Tensor>
std::shared_ptr<IAITensor> CreateTensor() {
    Tensor* const tensor = new (std::nothrow) Tensor;
    return tensor != nullptr ? std::shared_ptr<IAITensor>(tensor) : nullptr;
}

std::shared_ptr<IAITensor> CreateNeuralNetworkBufferTensor(const AITensorDescription&) {
    return CreateTensor<AINeuralNetworkBufferHIDL>();
}

std::shared_ptr<IAITensor> CreateIonBufferFallbackTensor(const AITensorDescription&) {
    return CreateTensor<AINeuralNetworkIonBufferFallback>();
}

const AITensorRegistrar bufferCreator(kBufferType, CreateNeuralNetworkBufferTensor);
const AITensorSerializerRegistrar bufferSerializer(kBufferType, SerializeBufferTensor,
                                                   DeserializeBufferTensor);
const AITensorRegistrar ionBufferCreator(kIonBufferType, CreateIonBufferFallbackTensor);
const AITensorSerializerRegistrar ionBufferSerializer(kIonBufferType, SerializeBufferTensor,
                                                      DeserializeBufferTensor);

}  // namespace

}  // namespace orva::hidl
