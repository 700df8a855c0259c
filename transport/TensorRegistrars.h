/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <new>
#include <string>

#include <orva/AITensorDescription.h>
#include <orva/AITensorFactory.h>

#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

// A new tensor of a class; null when memory ran out.
template <typename Tensor>
std::shared_ptr<IAITensor> NewTensor() {
    return std::unique_ptr<IAITensor>(new (std::nothrow) Tensor);
}

// Keeps a tensor creator registered with the framework's factory for as long as it lives. Meant
// for static objects: from the library's load to its unload.
class AITensorRegistrar {
public:
    AITensorRegistrar(const std::string& type, AITensorCreator creator);
    ~AITensorRegistrar();
    AITensorRegistrar(const AITensorRegistrar&) = delete;
    AITensorRegistrar& operator=(const AITensorRegistrar&) = delete;

private:
    AITensorDescription description_;
    std::string type_;  // empty while nothing is registered
};

// Registers a serializer pair; it stays registered.
class AITensorSerializerRegistrar {
public:
    AITensorSerializerRegistrar(const std::string& type, SerializeFunc serialize,
                                DeserializeFunc deserialize);
};

}  // namespace orva::hidl
