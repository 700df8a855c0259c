/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <hidl/HidlSupport.h>
#include <orva/IAITensor.h>

#include "common/Interfaces.h"
#include "common/Log.h"
#include "common/ServiceActivity.h"

namespace orva::hidl {

// A request's tensors, in order.
struct RequestTensors {
    std::vector<std::shared_ptr<IAITensor>> inputs, outputs;
};

// What a method says in the log of the tensors that come with it.
struct TensorLines {
    const char* method;
    const char* inputType;  // INFO, with each input's type behind it; null: nothing
    const char* badInput;   // ERROR, as those below
    const char* noOutput;   // of an output whose type the factory does not know; null: badOutput
    const char* badOutput;
};

// Makes and fills a request's tensors, mapped onto the peer's memory: the outputs, too, so that
// results are written straight into the client's buffers. False, refused to `client` by that
// service with kStatusFailure, at the first tensor that cannot be made or filled.
bool UnpackTensors(const TensorLines& lines, ServiceActivity& service, const std::string& client,
                   const android::hardware::hidl_vec<AITensorHandle>& inputs,
                   const android::hardware::hidl_vec<AITensorHandle>& outputs,
                   RequestTensors& tensors);

// Makes the handles by which a request's outputs are sent to its client, in order; they own what
// they hold. One that is null or cannot be serialized is left out, refused to `client` by that
// service in the name of `source`, and then a `result` other than 0 becomes 1: a shorter list never
// turns a success into a failure.
std::vector<AITensorHandle> PackOutputs(const std::vector<std::shared_ptr<IAITensor>>& outputs,
                                        int32_t& result, ServiceActivity& service,
                                        const std::string& client, const LogSource& source);

}  // namespace orva::hidl
