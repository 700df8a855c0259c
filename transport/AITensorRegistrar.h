/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <orva/AITensorFactory.h>

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
    std::string type_;  // empty where there was no factory
};

}  // namespace orva::hidl
