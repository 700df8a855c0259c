/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "nodes/EchoNode.h"

#include <cstring>

#include <orva/reference/BufferView.h>
#include <orva/reference/NodeStatus.h>

#include "base/Log.h"

namespace orva::reference {

int32_t EchoNode::Load(const AIConfig&, std::vector<AIModelDescription>&, Cancellation&) {
    return kNodeOk;
}

int32_t EchoNode::Check(const Request& request) const {
    if (request.inputs.size() != request.outputs.size()) {
        ORVA_LOGE("%zu inputs for %zu outputs", request.inputs.size(), request.outputs.size());
        return kNodeBadRequest;
    }
    for (size_t i = 0; i < request.inputs.size(); ++i) {
        BufferView input;
        BufferView output;
        if (!ViewBuffer(request.inputs[i], input) || !ViewBuffer(request.outputs[i], output)) {
            ORVA_LOGE("input or output %zu is no buffer tensor", i);
            return kNodeBadRequest;
        }
        if (input.size != output.size) {
            ORVA_LOGE("input %zu has %zu bytes, its output %zu", i, input.size, output.size);
            return kNodeBadRequest;
        }
    }
    return kNodeOk;
}

int32_t EchoNode::Run(Request& request, Cancellation&) {
    for (size_t i = 0; i < request.inputs.size(); ++i) {
        BufferView input;
        BufferView output;
        ViewBuffer(request.inputs[i], input);
        ViewBuffer(request.outputs[i], output);
        std::memmove(output.data, input.data, input.size);
    }
    return kNodeOk;
}

}  // namespace orva::reference
