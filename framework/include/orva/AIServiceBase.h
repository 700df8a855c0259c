/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>
#include <orva/AIServiceListener.h>
#include <orva/IAITensor.h>

namespace orva {

// A service node: what runs the requests of one session. The order of the virtual operations is
// the framework's ABI. Every operation may be called from several threads at once.
class AIServiceBase {
public:
    AIServiceBase();
    virtual ~AIServiceBase();
    AIServiceBase(const AIServiceBase&) = delete;
    AIServiceBase& operator=(const AIServiceBase&) = delete;

    // Loads the models. 0 on success; any other value is the node's own code.
    virtual int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) = 0;

    // Sets who is told of completions, in place of an earlier listener. 0 on success.
    virtual int32_t RegisterListener(const std::shared_ptr<AIServiceListener>& listener) = 0;

    // Takes one request; 0 when it was accepted, and then the listener is called exactly once for
    // it, possibly before this returns. The node keeps the tensors until then.
    virtual int32_t Process(AIContext& context,
                            const std::vector<std::shared_ptr<IAITensor>>& inputs,
                            const std::vector<std::shared_ptr<IAITensor>>& outputs,
                            int32_t param) = 0;

    // Starts counting the time that the node lies idle.
    void CreateIdleTimer();

protected:
    // Shared with the node's requests in flight, which may outlive it.
    class IdleTimer;
    const std::shared_ptr<IdleTimer>& idleTimer() const { return idleTimer_; }

private:
    std::shared_ptr<IdleTimer> idleTimer_;
};

}  // namespace orva
