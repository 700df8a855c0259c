/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AINNNodeFactory.h>

#include <exception>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <orva/reference/NodeRegistry.h>
#include <orva/reference/ServiceNode.h>

#include "base/Log.h"
#include "base/Mutex.h"
#include "client/SessionShare.h"
#include "nodes/EchoNode.h"
#include "nodes/OnnxNode.h"

namespace orva {

namespace reference {

namespace {

template <class Handler>
std::shared_ptr<AIServiceBase> MakeNode() {
    return std::make_shared<ServiceNode>(std::make_unique<Handler>());
}

struct Entry {
    NodeCreator creator;
    std::string takes;
    std::string file;
};

struct Registry {
    Mutex mutex;
    std::map<std::string, Entry> types ORVA_GUARDED_BY(mutex) = {
            {"echo",
             {MakeNode<EchoNode>, "Any tensors, and for each an output of its size. No model.",
              ""}},
            {"onnx",
             {MakeNode<OnnxNode>,
              "One ONNX model; its inputs and outputs in the model's order, floats also as bytes. "
              "Parameters: scale, bias, threads, concurrency, profile, times, shape:INPUT, "
              "dimension:NAME.",
              ""}},
    };
};

Registry& TheRegistry() {
    // Never destroyed: calls may come while the process exits.
    static auto& registry = *new Registry;
    return registry;
}

// Of the file whose types are being registered on this thread.
thread_local std::string registering;

// The node holds one of its client's sessions. Empty where there is none left.
std::shared_ptr<AIServiceBase> MakeCounted(const NodeCreator& creator) {
    struct Counted {
        SessionShare share;
        std::shared_ptr<AIServiceBase> node;
    };
    auto counted = std::make_shared<Counted>();
    if (counted->share.taken()) {
        counted->node = creator();
    }
    AIServiceBase* const node = counted->node.get();
    return node != nullptr ? std::shared_ptr<AIServiceBase>(counted, node) : nullptr;
}

}  // namespace

void RegisterNode(const std::string& type, NodeCreator creator) {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    registry.types[type] = {std::move(creator), "", registering};
}

void DescribeNode(const std::string& type, const std::string& takes) {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    const auto found = registry.types.find(type);
    if (found != registry.types.end()) {
        found->second.takes = takes;
    }
}

std::vector<NodeType> NodeTypes() {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    std::vector<NodeType> types;
    for (const auto& [type, entry] : registry.types) {
        types.push_back({type, entry.takes, entry.file});
    }
    return types;
}

void RegisterNodesOf(const std::string& file, const std::function<void()>& registerNodes) {
    const struct Scope {
        explicit Scope(const std::string& file) { registering = file; }
        ~Scope() { registering.clear(); }
    } scope(file);
    registerNodes();
}

void UnregisterNode(const std::string& type) {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    registry.types.erase(type);
}

}  // namespace reference

AINNNodeFactory* AINNNodeFactory::GetInstance() {
    static AINNNodeFactory factory;
    return &factory;
}

std::shared_ptr<AIServiceBase> AINNNodeFactory::CreateNNNode(const std::string& type) {
    reference::NodeCreator creator;
    {
        reference::Registry& registry = reference::TheRegistry();
        reference::MutexLock lock(registry.mutex);
        const auto found = registry.types.find(type);
        if (found != registry.types.end()) {
            creator = found->second.creator;
        }
    }
    if (!creator) {
        ORVA_LOGE("no node type %s", type.c_str());
        return nullptr;
    }
    try {
        return reference::MakeCounted(creator);
    } catch (const std::exception& error) {
        ORVA_LOGE("cannot make a node of type %s: %s", type.c_str(), error.what());
        return nullptr;
    }
}

}  // namespace orva
