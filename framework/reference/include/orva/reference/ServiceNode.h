/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include <orva/AIServiceBase.h>
#include <orva/reference/Executor.h>
#include <orva/reference/RequestHandler.h>

namespace orva::reference {

// A service node around a handler. It runs requests on an executor, one at a time and in order
// unless the handler says otherwise, and reports each accepted one exactly once, also after the
// node itself has gone: requests that are still waiting then end with kNodeStopped. Where the
// configuration has "times" as "true", the context of one that has run says for how many
// microseconds it waited and ran, in "queueMicros" and "runMicros", and, of one that threw, why, in
// "reason".
class ServiceNode : public AIServiceBase {
public:
    explicit ServiceNode(std::unique_ptr<RequestHandler> handler,
                         std::shared_ptr<Executor> executor = FrameworkExecutor());
    ~ServiceNode() override;

    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override;
    int32_t RegisterListener(const std::shared_ptr<AIServiceListener>& listener) override;
    int32_t Process(AIContext& context, const std::vector<std::shared_ptr<IAITensor>>& inputs,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs, int32_t param) override;

    // How long the node has had nothing to do; 0 while it has, and before CreateIdleTimer.
    std::chrono::nanoseconds IdleTime() const;

private:
    // What requests in flight need, shared with them.
    struct Core;
    // Not shared with them: it ends only after they have, and never on a thread of its own.
    const std::shared_ptr<Executor> executor_;
    const std::shared_ptr<Core> core_;
};

}  // namespace orva::reference
