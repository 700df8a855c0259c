/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "client/lib/Session.h"

namespace orva::client {

// What sources together, and what is compiled, may have at most. Unit: bytes.
constexpr uint64_t kMostBuildBytes = 200 * 1024 * 1024;

using Dimensions = std::array<int32_t, 4>;

// The shapes of a model's tensors, in the model's order.
struct ModelDimensions {
    std::vector<Dimensions> inputs;
    std::vector<Dimensions> outputs;
};

// A session on a model manager. Every operation may be called from any thread; all throw
// ServiceError.
class ManagerSession
        : public BasicSession<ModelManagerService,
                              vendor::selkat::hardware::ai::V2_0::IModelManagerListener> {
public:
    ManagerSession(const android::sp<ModelManagerService>& service, int32_t clientId,
                   const std::string& config, const std::vector<Model>& models);

    // Says what start() computes on, any number of times; the tensors must live as long.
    void bind(const std::string& context, const std::vector<Tensor>& inputs,
              const std::vector<Tensor>& outputs);
    // Returns once the computation is accepted. Its result comes as a request's does.
    void start(const std::string& context);

    ModelDimensions dimensions(const std::string& model);
    // In the model manager's unit.
    int32_t maxUsedMemory();
    // 0 when the loaded models are whole.
    int32_t validity();

    // Compiles the sources into one model, written into `output`, and answers its size.
    size_t build(const std::vector<Model>& sources, const SharedRegion& output, uint32_t param = 0);
};

// Whether a model can run there; needs no session. 0 when it can, otherwise why not.
int32_t checkCompatibility(ModelManagerService& service, const Model& model);

}  // namespace orva::client
