/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include <orva/reference/RequestHandler.h>

#include "onnx/Engine.h"

namespace orva::reference {

// Runs the ONNX model given at Init, with the tensors in the order of its graph. Only the model's
// own dimensions count: a tensor fits when its data type and its bytes do. Float tensors of the
// model also take byte buffers: an input's bytes become byte * scale + bias, an output's values are
// rounded and saturated. Configuration parameters: "scale" (1 when not given) and "bias" (0).
class OnnxNode : public RequestHandler {
public:
    int32_t Load(const AIConfig& config, std::vector<AIModelDescription>& models) override;
    int32_t Check(const Request& request) const override;
    int32_t Run(Request& request) override;

private:
    std::unique_ptr<Engine> engine_;
    ByteConversion conversion_;
};

}  // namespace orva::reference
