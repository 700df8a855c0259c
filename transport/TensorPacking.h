/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <orva/IAITensor.h>

#include "common/Interfaces.h"
#include "common/Log.h"
#include "common/ServiceActivity.h"

namespace orva::hidl {

// Makes the handles by which a request's outputs are sent to its client, in order; they own what
// they hold. One that is null or cannot be serialized is left out, refused to `client` by that
// service in the name of `source`, and then a `result` other than 0 becomes 1: a shorter list never
// turns a success into a failure.
std::vector<AITensorHandle> PackOutputs(const std::vector<std::shared_ptr<IAITensor>>& outputs,
                                        int32_t& result, ServiceActivity& service,
                                        const std::string& client, const LogSource& source);

}  // namespace orva::hidl
