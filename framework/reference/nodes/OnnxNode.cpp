/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "nodes/OnnxNode.h"

#include <exception>

#include <orva/reference/NodeStatus.h>

#include "base/Log.h"

namespace orva::reference {

int32_t OnnxNode::Load(const AIConfig& config, std::vector<AIModelDescription>& models,
                       Cancellation& cancellation) {
    RunnerConfig runnerConfig;
    if (!runnerConfig.Read(config)) {
        return kNodeBadConfig;
    }
    if (models.size() != 1 || models[0].data() == nullptr) {
        ORVA_LOGE("%zu models, one with its bytes is needed", models.size());
        return kNodeBadModel;
    }
    concurrency_ = runnerConfig.concurrency;
    try {
        runner_ = std::make_unique<OnnxRunner>(ByteRange{models[0].data(), models[0].data_size()},
                                               runnerConfig, cancellation);
    } catch (const std::exception& error) {
        ORVA_LOGE("model %s: %s", models[0].name().c_str(), OneLine(error.what()).c_str());
        return kNodeBadModel;
    }
    return kNodeOk;
}

int32_t OnnxNode::Check(const Request& request) const {
    return runner_->Check(request);
}

int32_t OnnxNode::Run(Request& request, Cancellation& cancellation) {
    return runner_->Run(request, cancellation);
}

}  // namespace orva::reference
