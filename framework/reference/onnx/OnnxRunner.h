/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include <orva/AIConfig.h>
#include <orva/reference/RequestHandler.h>

#include "onnx/Engine.h"

namespace orva::reference {

// Reads the parameters "scale" (1 when not given) and "bias" (0). False when one is no number.
bool ReadByteConversion(const AIConfig& config, ByteConversion& conversion);

// Runs requests on one model, with the tensors in the order of its graph. Only the model's own
// dimensions count: a tensor fits when its data type and its bytes do. Float tensors of the model
// also take byte buffers: an input's bytes are converted, an output's values rounded and saturated.
class OnnxRunner {
public:
    // Throws a std::exception that says why when the model is refused.
    OnnxRunner(ByteRange file, const ByteConversion& conversion,
               std::shared_ptr<EngineMemory> memory = Engine::DefaultMemory())
            : engine_(file, std::move(memory)), conversion_(conversion) {}

    const Engine& engine() const { return engine_; }

    // Whether a request fits; a NodeStatus. May be called beside Run.
    int32_t Check(const Request& request) const;

    // Runs a request that fits. One call at a time. Throws a std::exception when the engine fails.
    int32_t Run(const Request& request);

private:
    Engine engine_;
    const ByteConversion conversion_;
};

}  // namespace orva::reference
