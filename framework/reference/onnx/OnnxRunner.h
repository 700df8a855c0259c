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

// What a session's configuration says of its models:
//   scale, bias      numbers: bytes that are given for a float input become byte * scale + bias
//   threads          how many threads a request runs on; 1 when not given
//   concurrency      how many requests of the session may run at a time, and so end in another
//                    order than they came in; 1 when not given
//   profile          "true": the context of each result has the parameter "profile", as RunProfile
//   shape:INPUT, dimension:NAME    as ShapeChoices
struct RunnerConfig {
    ByteConversion conversion;
    EngineOptions engine;
    ShapeChoices shapes;

    size_t concurrency = 1;
    bool profile = false;

    static constexpr size_t kMostThreads = 64;
    static constexpr size_t kMostConcurrent = 16;

    // False, with a line in the log, when a parameter has no meaning.
    bool Read(const AIConfig& config);
};

// Runs requests on one model, with the tensors in the order of its graph. Only the model's own
// dimensions count; what it leaves open, a request's context settles (as ShapeChoices), or the
// configuration, or the tensors (as SettleShapes). Float tensors of the model also take byte
// buffers: an input's bytes are converted, an output's values rounded and saturated.
class OnnxRunner {
public:
    // Throws a std::exception that says why when the model is refused.
    OnnxRunner(ByteRange file, const RunnerConfig& config, Cancellation& cancellation,
               std::shared_ptr<EngineMemory> memory = Engine::DefaultMemory())
            : engine_(file, config.engine, cancellation, std::move(memory)), config_(config) {}

    const Engine& engine() const { return engine_; }

    // Whether a request fits; a NodeStatus. May be called beside Run.
    int32_t Check(const Request& request) const;

    // Runs a request that fits. Throws a std::exception when the engine fails. Of an output whose
    // dimensions the model does not say, the tensor's record then has them, and the context the
    // parameter "shape:OUTPUT".
    int32_t Run(Request& request, Cancellation& cancellation) const;

private:
    RequestShapes Settle(const Request& request, const std::vector<BufferView>& inputs,
                         const std::vector<BufferView>& outputs) const;

    const Engine engine_;
    const RunnerConfig config_;
};

}  // namespace orva::reference
