/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchNode.h"

#include <memory>

#include <orva/reference/NodeRegistry.h>
#include <orva/reference/ServiceNode.h>

#include "request/IdleHandler.h"

namespace orva_bench {

void registerBenchNodes() {
    using orva::reference::RegisterNode;
    using orva::reference::ServiceNode;
    RegisterNode(kPooledNode,
                 [] { return std::make_shared<ServiceNode>(std::make_unique<IdleHandler>()); });
    RegisterNode(kInlineNode, [] {
        return std::make_shared<ServiceNode>(std::make_unique<IdleHandler>(),
                                             std::make_shared<orva::reference::InlineExecutor>());
    });
}

}  // namespace orva_bench
