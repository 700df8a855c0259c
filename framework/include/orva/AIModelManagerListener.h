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

// Who a model manager reports to. The order of the virtual operations is the framework's ABI.
class AIModelManagerListener {
public:
    virtual ~AIModelManagerListener() = default;

    // One accepted computation has ended. Called on a thread of the model manager's choosing,
    // possibly before the call that started it has returned. `result` is 0 for success.
    virtual void OnProcessDone(const AIContext& context, int32_t result,
                               const std::vector<std::shared_ptr<IAITensor>>& outputs) = 0;

    // The framework's own service has gone.
    virtual void OnServiceDied() = 0;
};

}  // namespace orva
