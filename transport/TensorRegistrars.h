/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <orva/AITensorDescription.h>
#include <orva/AITensorFactory.h>

#include "transport/AITensorSerializerRegistry.h"

namespace orva::hidl {

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
