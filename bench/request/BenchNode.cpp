/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchNode.h"

#include <memory>

#include <orva/reference/NodeRegistry.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/ServiceNode.h>

namespace orva_bench {

namespace {

using orva::AIConfig;
using orva::AIModelDescription;
using orva::reference::Request;

class IdleHandler : public orva::reference::RequestHandler {
public:
    int32_t Load(const AIConfig&, std::vector<AIModelDescription>&) override {
        return orva::reference::kNodeOk;
    }
    int32_t Check(const Request&) const override { return orva::reference::kNodeOk; }
    int32_t Run(Request&) override { return orva::reference::kNodeOk; }
};

}  // namespace

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
