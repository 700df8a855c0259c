/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <orva/AIContext.h>
#include <orva/IAITensor.h>

namespace orva {

// Who a service node reports to. The order of the virtual operations is the framework's ABI.
class AIServiceListener {
public:
    virtual ~AIServiceListener() = default;

    // One accepted request has ended. Called on a thread of the node's choosing, possibly before
    // the request call has returned. `result` is 0 for success.
    virtual void OnProcessDone(const AIContext& context, int32_t result,
                               const std::vector<std::shared_ptr<IAITensor>>& outputs) = 0;

    // The framework's own service has gone.
    virtual void OnServiceDied() = 0;
};

}  // namespace orva
