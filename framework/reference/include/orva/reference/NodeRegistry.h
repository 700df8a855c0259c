/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <orva/AIServiceBase.h>

namespace orva::reference {

using NodeCreator = std::function<std::shared_ptr<AIServiceBase>()>;

// The node types that AINNNodeFactory makes: "echo" and "onnx" from the start, and what tests and
// benchmarks add. Both may be called from any thread; a creator runs without a lock held.

// Adds a type, or replaces the creator of one.
void RegisterNode(const std::string& type, NodeCreator creator);

// Takes a type away; an unknown one is left alone. Nodes already made live on.
void UnregisterNode(const std::string& type);

}  // namespace orva::reference
