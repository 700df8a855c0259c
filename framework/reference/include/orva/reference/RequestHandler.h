/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>
#include <orva/IAITensor.h>
#include <orva/reference/Cancellation.h>

namespace orva::reference {

// One request as a node holds it until its completion.
struct Request {
    AIContext context;
    std::vector<std::shared_ptr<IAITensor>> inputs;
    std::vector<std::shared_ptr<IAITensor>> outputs;
    int32_t param = 0;
};

// What one type of node does; everything else about a node is ServiceNode's. Statuses are
// NodeStatus, or the handler's own nonzero codes.
class RequestHandler {
public:
    virtual ~RequestHandler() = default;

    // Called before anything else, again after a failure, and never again after a success. What
    // takes long must heed `cancellation`, for the caller waits until this returns.
    virtual int32_t Load(const AIConfig& config, std::vector<AIModelDescription>& models,
                         Cancellation& cancellation) = 0;

    // Whether a request fits; a nonzero status refuses it. Called on the caller's thread, several
    // calls at a time, also beside Run.
    virtual int32_t Check(const Request& request) const = 0;

    // Runs a request that fits and returns its result, on the executor's threads. One call at a
    // time, in the requests' order, unless Concurrency says otherwise. What it throws becomes
    // kNodeFailed. A call that goes on although it was cancelled is given up: its client is told
    // so, its result is dropped, and the next one may begin beside it.
    virtual int32_t Run(Request& request, Cancellation& cancellation) = 0;

    // How many calls of Run there may be at a time; asked once, after a Load that succeeded. With
    // more than one, requests may end in another order than they came in.
    virtual size_t Concurrency() const { return 1; }
};

}  // namespace orva::reference
