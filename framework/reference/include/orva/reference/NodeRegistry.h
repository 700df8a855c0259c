/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <orva/AIServiceBase.h>

namespace orva::reference {

using NodeCreator = std::function<std::shared_ptr<AIServiceBase>()>;

// The node types that AINNNodeFactory makes: "echo" and "onnx" from the start, and what tests and
// benchmarks add. All may be called from any thread; a creator runs without a lock held.

// Adds a type, or replaces the creator of one.
void RegisterNode(const std::string& type, NodeCreator creator);

// Says of a type, for people, what its sessions take: models, tensors, parameters. One sentence or
// a few; an unknown type is left alone.
void DescribeNode(const std::string& type, const std::string& takes);

// What is there.
struct NodeType {
    std::string type;
    std::string takes;  // Empty where nobody has said it.
    std::string file;   // That brought it along; empty for the framework's own.
};
std::vector<NodeType> NodeTypes();

// Runs what registers the types that a file brings along, which are shown as that file's.
void RegisterNodesOf(const std::string& file, const std::function<void()>& registerNodes);

// Takes a type away; an unknown one is left alone. Nodes already made live on.
void UnregisterNode(const std::string& type);

}  // namespace orva::reference
