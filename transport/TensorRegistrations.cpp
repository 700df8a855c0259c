/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What the tensors register while the library is loaded: the shared-memory tensor, itself under the
// ION tensor's name as well, then the ION tensor. All in one file, whose objects are made in their
// order: of two creators of one name the factory may let the later one count.
#include <memory>
#include <new>

#include "transport/AINeuralNetworkIonBufferHIDL.h"
#include "transport/AITensorRegistrar.h"
#include "transport/AITensorSerializerRegistry.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/TensorNames.h"

namespace orva::hidl {

namespace {

// Null when memory ran out.
template <typename Tensor>
std::shared_ptr<IAITensor> NewTensor() {
    return std::unique_ptr<IAITensor>(new (std::nothrow) Tensor);
}

std::shared_ptr<IAITensor> CreateNeuralNetworkBufferTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkBufferHIDL>();
}

std::shared_ptr<IAITensor> CreateIonBufferFallbackTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkIonBufferFallback>();
}

std::shared_ptr<IAITensor> CreateIonBufferTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkIonBufferHIDL>();
}

struct TensorRegistration {
    const char* type;
    AITensorCreator create;
    AITensorRegistrar creator{type, create};
    AITensorSerializerRegistrar serializer{type, SerializeBufferTensor, DeserializeBufferTensor};
};

const TensorRegistration buffer{kBufferType, CreateNeuralNetworkBufferTensor};
const TensorRegistration fallback{kIonBufferType, CreateIonBufferFallbackTensor};
const TensorRegistration ionBuffer{kIonBufferType, CreateIonBufferTensor};

}  // namespace

}  // namespace orva::hidl
