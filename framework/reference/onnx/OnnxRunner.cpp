/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxRunner.h"

#include <cmath>
#include <cstdlib>
#include <string>

#include <orva/reference/BufferView.h>
#include <orva/reference/NodeStatus.h>

#include "base/Log.h"

namespace orva::reference {

namespace {

// Leaves the value alone when the parameter is not given; false when it is no number.
bool ReadNumber(const AIConfig& config, const char* name, double& value) {
    const std::string text = config.GetPara(name);
    if (text.empty()) {
        return true;
    }
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(value)) {
        ORVA_LOGE("parameter %s is no number: %s", name, text.c_str());
        return false;
    }
    return true;
}

bool ViewAll(const std::vector<std::shared_ptr<IAITensor>>& tensors,
             std::vector<BufferView>& views) {
    views.resize(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        if (!ViewBuffer(tensors[i], views[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReadByteConversion(const AIConfig& config, ByteConversion& conversion) {
    return ReadNumber(config, "scale", conversion.scale) &&
           ReadNumber(config, "bias", conversion.bias);
}

int32_t OnnxRunner::Check(const Request& request) const {
    std::vector<BufferView> inputs;
    std::vector<BufferView> outputs;
    std::string reason = "a tensor is no buffer";
    if (!ViewAll(request.inputs, inputs) || !ViewAll(request.outputs, outputs) ||
        !engine_.Accepts(inputs, outputs, reason)) {
        ORVA_LOGE("request refused: %s", reason.c_str());
        return kNodeBadRequest;
    }
    return kNodeOk;
}

int32_t OnnxRunner::Run(const Request& request) {
    std::vector<BufferView> inputs;
    std::vector<BufferView> outputs;
    ViewAll(request.inputs, inputs);
    ViewAll(request.outputs, outputs);
    engine_.Run(inputs, outputs, conversion_);
    return kNodeOk;
}

}  // namespace orva::reference
