/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "nodes/OnnxNode.h"

#include <cmath>
#include <cstdlib>
#include <exception>

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

int32_t OnnxNode::Load(const AIConfig& config, std::vector<AIModelDescription>& models) {
    if (!ReadNumber(config, "scale", conversion_.scale) ||
        !ReadNumber(config, "bias", conversion_.bias)) {
        return kNodeBadConfig;
    }
    if (models.size() != 1 || models[0].data() == nullptr) {
        ORVA_LOGE("%zu models, one with its bytes is needed", models.size());
        return kNodeBadModel;
    }
    try {
        engine_ = std::make_unique<Engine>(ByteRange{models[0].data(), models[0].data_size()});
    } catch (const std::exception& error) {
        ORVA_LOGE("model %s: %s", models[0].name().c_str(), OneLine(error.what()).c_str());
        return kNodeBadModel;
    }
    return kNodeOk;
}

int32_t OnnxNode::Check(const Request& request) const {
    std::vector<BufferView> inputs;
    std::vector<BufferView> outputs;
    std::string reason = "a tensor is no buffer";
    if (!ViewAll(request.inputs, inputs) || !ViewAll(request.outputs, outputs) ||
        !engine_->Accepts(inputs, outputs, reason)) {
        ORVA_LOGE("request refused: %s", reason.c_str());
        return kNodeBadRequest;
    }
    return kNodeOk;
}

int32_t OnnxNode::Run(Request& request) {
    std::vector<BufferView> inputs;
    std::vector<BufferView> outputs;
    ViewAll(request.inputs, inputs);
    ViewAll(request.outputs, outputs);
    engine_->Run(inputs, outputs, conversion_);
    return kNodeOk;
}

}  // namespace orva::reference
