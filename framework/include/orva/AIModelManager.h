/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>
#include <orva/AIModelIOTensor.h>
#include <orva/AIModelManagerListener.h>
#include <orva/IAITensor.h>
#include <orva/MappedBuffer.h>

namespace orva {

// What runs the models of one session, answers questions about them, and builds new ones. The
// order of the virtual operations is the framework's ABI. Every operation may be called from
// several threads at once. Statuses are 0 for success; any other value is the manager's own code.
//
// A manager is owned by a std::shared_ptr from its making on, and refers to itself by
// shared_from_this().
class AIModelManager : public std::enable_shared_from_this<AIModelManager> {
public:
    AIModelManager() = default;
    virtual ~AIModelManager() = default;
    AIModelManager(const AIModelManager&) = delete;
    AIModelManager& operator=(const AIModelManager&) = delete;

    // Loads the models, each under its description's name; there may be none.
    virtual int32_t Init(const AIConfig& config, std::vector<AIModelDescription>& models) = 0;

    // Takes one request; 0 when it was accepted, and then the listener is called exactly once for
    // it, possibly before this returns. The manager keeps the tensors until then. `processArg` is
    // the client's, who finds its meaning in the manager's own documentation.
    virtual int32_t Process(AIContext& context,
                            const std::vector<std::shared_ptr<IAITensor>>& inputs,
                            const std::vector<std::shared_ptr<IAITensor>>& outputs,
                            int32_t processArg) = 0;

    // Sets who is told of completions, in place of an earlier listener.
    virtual int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) = 0;

    // Not called by the services.
    virtual int32_t Reserved6() { return 0; }

    // Appends one record for each input and each output of a loaded model, in the model's order.
    // What the lists hold after a failure means nothing.
    virtual int32_t GetModelIOTensorDim(const std::string& modelName,
                                        std::vector<AIModelIOTensor>& inputs,
                                        std::vector<AIModelIOTensor>& outputs) = 0;

    // Whether a model could be loaded here, judged by its description, and by its bytes when there
    // are any. Asked of a manager without Init. 0 for a model that can.
    virtual int32_t CheckModelCompatibility(const AIModelDescription& model) = 0;

    // The most memory that the loaded models have taken so far. The unit is the manager's own.
    virtual int32_t GetMaxUsedMemory() = 0;

    // Compiles the sources, in order, into one model that Init loads, and writes it to `output`.
    // `outputModelSize` becomes the bytes written; it is left as it is on a failure. No buffer may
    // be touched after the return.
    virtual int32_t BuildModel(int32_t buildParam, const std::vector<MappedBuffer>& inputs,
                               const MappedBuffer& output, uint32_t& outputModelSize) = 0;

    // Whether the loaded models are whole. 0 when they are.
    virtual int32_t CheckModelValid() = 0;

    // Not called by the services.
    virtual int32_t Reserved12() { return 0; }
    virtual int32_t Reserved13() { return 0; }

    // Binds the tensors of the computations that StartCompute starts, in place of what was bound.
    // The manager keeps them until then.
    virtual int32_t SetInputsAndOutputs(AIContext& context,
                                        const std::vector<std::shared_ptr<IAITensor>>& inputs,
                                        const std::vector<std::shared_ptr<IAITensor>>& outputs) = 0;

    // Starts one computation on what is bound; 0 when it was accepted, and then the listener is
    // called exactly once for it, possibly before this returns.
    virtual int32_t StartCompute(AIContext& context) = 0;
};

}  // namespace orva
