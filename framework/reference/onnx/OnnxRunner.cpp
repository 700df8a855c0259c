/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxRunner.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

#include <orva/reference/BufferView.h>
#include <orva/reference/NodeStatus.h>

#include "base/Log.h"
#include "onnx/Refuse.h"
#include "onnx/RunProfile.h"

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
        ORVA_LOGE("parameter %s is no number: %s", name, OneLine(text).c_str());
        return false;
    }
    return true;
}

// The same for a whole number from 1 to `most`.
bool ReadCount(const AIConfig& config, const char* name, size_t most, size_t& value) {
    const std::string text = config.GetPara(name);
    if (text.empty()) {
        return true;
    }
    const char* const end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, value);
    if (next != end || error != std::errc() || value < 1 || value > most) {
        ORVA_LOGE("parameter %s is no number from 1 to %zu: %s", name, most, OneLine(text).c_str());
        return false;
    }
    return true;
}

// The same for "true" or "false".
bool ReadFlag(const AIConfig& config, const char* name, bool& value) {
    const std::string text = config.GetPara(name);
    value = text == "true";
    if (!value && !text.empty() && text != "false") {
        ORVA_LOGE("parameter %s is neither true nor false: %s", name, OneLine(text).c_str());
        return false;
    }
    return true;
}

std::vector<BufferView> ViewAll(const std::vector<std::shared_ptr<IAITensor>>& tensors) {
    std::vector<BufferView> views(tensors.size());
    for (size_t i = 0; i < tensors.size(); ++i) {
        if (!ViewBuffer(tensors[i], views[i])) {
            Refuse("a tensor is no buffer");
        }
    }
    return views;
}

}  // namespace

bool RunnerConfig::Read(const AIConfig& config) {
    if (!ReadNumber(config, "scale", conversion.scale) ||
        !ReadNumber(config, "bias", conversion.bias) ||
        !ReadCount(config, "threads", kMostThreads, engine.threads) ||
        !ReadCount(config, "concurrency", kMostConcurrent, concurrency) ||
        !ReadFlag(config, "profile", profile)) {
        return false;
    }
    try {
        shapes.Add(config.paras());
    } catch (const std::exception& error) {
        ORVA_LOGE("%s", OneLine(error.what()).c_str());
        return false;
    }
    engine.dimensions = shapes.dimensions;
    return true;
}

RequestShapes OnnxRunner::Settle(const Request& request, const std::vector<BufferView>& inputs,
                                 const std::vector<BufferView>& outputs) const {
    ShapeChoices choices = config_.shapes;
    choices.Add(request.context.paras());
    return engine_.Settle(inputs, outputs, choices);
}

int32_t OnnxRunner::Check(const Request& request) const {
    try {
        Settle(request, ViewAll(request.inputs), ViewAll(request.outputs));
    } catch (const std::runtime_error& error) {
        ORVA_LOGE("request refused: %s", OneLine(error.what()).c_str());
        return kNodeBadRequest;
    }
    return kNodeOk;
}

int32_t OnnxRunner::Run(Request& request, Cancellation& cancellation) const {
    const std::vector<BufferView> inputs = ViewAll(request.inputs);
    const std::vector<BufferView> outputs = ViewAll(request.outputs);
    Ort::RunOptions options;
    std::optional<RunProfile> profile;
    if (config_.profile) {
        profile.emplace(options);
    }
    const Cancellation::Listener listener(cancellation, [&options] { options.SetTerminate(); });
    const std::vector<Dims> made = engine_.Run(inputs, outputs, Settle(request, inputs, outputs),
                                               config_.conversion, options);
    for (size_t i = 0; i < made.size(); ++i) {
        const EngineTensor& output = engine_.outputs()[i];
        if (made[i] != output.dims) {
            SetShape(*request.outputs[i], made[i]);
            request.context.SetPara("shape:" + output.name, TextOf(made[i]));
        }
    }
    if (profile) {
        request.context.SetPara("profile", profile->Table());
    }
    return kNodeOk;
}

}  // namespace orva::reference
