/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What the shared-memory tensor registers while the library is loaded.

#include "transport/BufferTensorRegistrations.h"

#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/TensorRegistrars.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

namespace {

std::shared_ptr<IAITensor> CreateNeuralNetworkBufferTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkBufferHIDL>();
}

std::shared_ptr<IAITensor> CreateIonBufferFallbackTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkIonBufferFallback>();
}

// In the order of the registrations.
struct Registrations {
    AITensorRegistrar bufferCreator{kBufferType, CreateNeuralNetworkBufferTensor};
    AITensorSerializerRegistrar bufferSerializer{kBufferType, SerializeBufferTensor,
                                                 DeserializeBufferTensor};
    AITensorRegistrar ionBufferCreator{kIonBufferType, CreateIonBufferFallbackTensor};
    AITensorSerializerRegistrar ionBufferSerializer{kIonBufferType, SerializeBufferTensor,
                                                    DeserializeBufferTensor};
};

const bool registered = (RegisterBufferTensors(), true);

}  // namespace

void RegisterBufferTensors() {
    static const Registrations registrations;
}

}  // namespace orva::hidl
