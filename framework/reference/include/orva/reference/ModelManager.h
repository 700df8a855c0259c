/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <orva/AIModelManager.h>
#include <orva/reference/Executor.h>

namespace orva::reference {

// Runs and builds models on the engine of the "onnx" node. Statuses are NodeStatus; each that is
// not 0 has its reason in the log.
//
// What a client says:
// - A model's description names it: "name", which may be empty, and "type", which is empty, "onnx"
//   or "compiled" and must then be what the bytes are. The bytes are an ONNX file, or what
//   BuildModel wrote. A built model of one source is loaded under the description's name, or its
//   own where that is empty; one of several is loaded under its sources' own names, each behind
//   the description's name and '/' where there is one. Names must differ.
// - A configuration may have parameters that are true for all models:
//   scale, bias        numbers: bytes that are given for a float input become byte * scale + bias
//   threads            how many threads a request runs on, up to 64; 1 when not given
//   concurrency        how many requests run at a time, up to 16, and so end in another order than
//                      they came in; 1 when not given
//   times              "true": each result's context has "queueMicros" and "runMicros", for how
//                      long the request waited and ran
//   profile            "true": each result's context has "profile", where the time went
//   shape:INPUT, dimension:NAME    for what a model leaves open
// - A context names the model of a request or a binding, "model". The empty name, here and in
//   GetModelIOTensorDim, means the model when there is only one.
// - Tensors come in the order of the model's graph. Only the model's own dimensions count: a tensor
//   fits when its data type and its bytes do. Dimensions that a model leaves open are settled by
//   the configuration, the request's context or the tensors, or the request is refused.
// - `processArg` and `buildParam` have no meaning here; the latter is kept in what is built.
//
// Requests of one manager run one at a time and in order, unless its configuration says otherwise,
// on an executor's threads. Each accepted one is reported exactly once, also after the manager has
// gone: those that are still waiting then end with kNodeStopped. A listener must have been
// registered before the first one.
class ModelManager : public AIModelManager {
public:
    // Models that one session loads, and sources of one build, at most.
    static constexpr size_t kMostModels = 256;

    explicit ModelManager(std::shared_ptr<Executor> executor = FrameworkExecutor());
    ~ModelManager() override;

    // All models or none: after a failure none is loaded, and Init may be called again.
    int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) override;
    int32_t Process(AIContext& context, const std::vector<std::shared_ptr<IAITensor>>& inputs,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs,
                    int32_t processArg) override;
    int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) override;

    // The dimensions as the engine infers them, outermost first; of more than four the last is the
    // product of the rest.
    int32_t GetModelIOTensorDim(const std::string& modelName, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>& outputs) override;

    // Loads the model as Init does, and lets go of it again. A model without bytes cannot be
    // loaded, whatever its description says.
    int32_t CheckModelCompatibility(const AIModelDescription& model) override;

    // The most bytes that the engine's matrices of the loaded models have taken at a time, from
    // the beginning of Init on; 0 without models. They may not take 2 GiB: what needs them is
    // refused.
    int32_t GetMaxUsedMemory() override;

    // Loads each source, an ONNX file, and writes it with its name and its tensors' dimensions.
    // A source's name is its graph's, or "model"; of equal names the later ones get "-2", "-3"…
    // Needs no Init. `output` must have room for the sources, their names and their tensors'.
    int32_t BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                       const MappedBuffer& output, uint32_t& outputModelSize) override;

    // 0 when Init has found all models whole; else what Init answered.
    int32_t CheckModelValid() override;

    // Each model has a binding of its own, which stays until the next one.
    int32_t SetInputsAndOutputs(AIContext& context,
                                const std::vector<std::shared_ptr<IAITensor>>& inputs,
                                const std::vector<std::shared_ptr<IAITensor>>& outputs) override;
    int32_t StartCompute(AIContext& context) override;

private:
    struct Core;
    // Not shared with requests in flight: it ends only after they have, and never on a thread of
    // its own.
    const std::shared_ptr<Executor> executor_;
    const std::unique_ptr<Core> core_;
};

}  // namespace orva::reference
