/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What the ION tensor registers while the library is loaded. It must come after the shared-memory
// tensor, which registers itself under the same name: the factory lets the later creator count. The
// language leaves open which of two source files is initialised first, so this one begins by
// calling for the other's registrations, whichever way the linker has put them.

#include "transport/AINeuralNetworkIonBufferHIDL.h"
#include "transport/BufferTensorRegistrations.h"
#include "transport/BufferTensorSerializer.h"
#include "transport/TensorRegistrars.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

namespace {

std::shared_ptr<IAITensor> CreateIonBufferTensor(const AITensorDescription&) {
    return NewTensor<AINeuralNetworkIonBufferHIDL>();
}

const bool sharedMemoryFirst = (RegisterBufferTensors(), true);
const AITensorRegistrar creator(kIonBufferType, CreateIonBufferTensor);
const AITensorSerializerRegistrar serializer(kIonBufferType, SerializeBufferTensor,
                                             DeserializeBufferTensor);

}  // namespace

}  // namespace orva::hidl
