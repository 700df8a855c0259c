/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>

#include <orva/AITensorDescription.h>
#include <orva/IAITensor.h>

namespace orva {

using AITensorCreator = std::shared_ptr<IAITensor> (*)(const AITensorDescription&);

// The process-wide table of tensor types. Every operation may be called from any thread.
class AITensorFactory {
public:
    // Null once the process is past the factory's own destruction.
    static AITensorFactory* GetInstance();
    AITensorFactory(const AITensorFactory&) = delete;
    AITensorFactory& operator=(const AITensorFactory&) = delete;

    // Registers a creator under the description's type name. A later registration of a name takes
    // precedence over the earlier ones, which come back as the later ones are taken away.
    void RegisterTensor(const AITensorDescription& description, AITensorCreator creator);
    // Takes away the latest registration of the description's type name; an unknown name is left
    // alone.
    void UnRegisterTensor(const AITensorDescription& description);

    // A new, empty tensor of a type; null when the type is unknown or the memory ran out.
    std::shared_ptr<IAITensor> CreateTensor(const std::string& type);

private:
    AITensorFactory();
    ~AITensorFactory();

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orva
