/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AINNNodeFactory.h>

#include <exception>
#include <map>
#include <utility>

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

struct Registry {
    Mutex mutex;
    std::map<std::string, NodeCreator> creators ORVA_GUARDED_BY(mutex) = {
            {"echo", MakeNode<EchoNode>},
            {"onnx", MakeNode<OnnxNode>},
    };
};

Registry& NodeTypes() {
    // Never destroyed: calls may come while the process exits.
    static auto& registry = *new Registry;
    return registry;
}

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
    Registry& registry = NodeTypes();
    MutexLock lock(registry.mutex);
    registry.creators[type] = std::move(creator);
}

void UnregisterNode(const std::string& type) {
    Registry& registry = NodeTypes();
    MutexLock lock(registry.mutex);
    registry.creators.erase(type);
}

}  // namespace reference

AINNNodeFactory* AINNNodeFactory::GetInstance() {
    static AINNNodeFactory factory;
    return &factory;
}

std::shared_ptr<AIServiceBase> AINNNodeFactory::CreateNNNode(const std::string& type) {
    reference::NodeCreator creator;
    {
        reference::Registry& registry = reference::NodeTypes();
        reference::MutexLock lock(registry.mutex);
        const auto found = registry.creators.find(type);
        if (found != registry.creators.end()) {
            creator = found->second;
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
