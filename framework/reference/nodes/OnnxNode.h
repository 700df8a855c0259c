/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include <orva/reference/RequestHandler.h>

#include "onnx/OnnxRunner.h"

namespace orva::reference {

// Runs the ONNX model given at Init, as OnnxRunner does. Configuration parameters:
// RunnerConfig's.
class OnnxNode : public RequestHandler {
public:
    int32_t Load(const AIConfig& config, std::vector<AIModelDescription>& models,
                 Cancellation& cancellation) override;
    int32_t Check(const Request& request) const override;
    int32_t Run(Request& request, Cancellation& cancellation) override;
    size_t Concurrency() const override { return concurrency_; }

private:
    std::unique_ptr<OnnxRunner> runner_;
    size_t concurrency_ = 1;
};

}  // namespace orva::reference
