/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/ManagerSession.h"

namespace orva::client {

using android::sp;
using android::hardware::hidl_vec;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using vendor::selkat::hardware::ai::V2_0::TensorDimension;

namespace {

constexpr char kType[] = "model-manager";
// In the usage statistics.
constexpr char kBuildContext[] = R"({"processName": "orva"})";
constexpr char kBuilding[] = "compiling";

std::vector<Dimensions> dimensionsOf(const hidl_vec<TensorDimension>& tensors) {
    std::vector<Dimensions> dimensions;
    for (const TensorDimension& tensor : tensors) {
        dimensions.push_back({tensor.dim0, tensor.dim1, tensor.dim2, tensor.dim3});
    }
    return dimensions;
}

}  // namespace

ManagerSession::ManagerSession(const sp<ModelManagerService>& service, int32_t clientId,
                               const std::string& config, const std::vector<Model>& models)
        : BasicSession(service, clientId, kType, config, models) {}

void ManagerSession::bind(const std::string& context, const std::vector<Tensor>& inputs,
                          const std::vector<Tensor>& outputs) {
    requireSuccess("binding the tensors", refuser(), [&] {
        return service().SetInputsAndOutputs(clientId(), context, handlesOf(inputs),
                                             handlesOf(outputs));
    });
}

void ManagerSession::start(const std::string& context) {
    requireSuccess("starting the computation", refuser(),
                   [&] { return service().StartCompute(clientId(), context); });
}

ModelDimensions ManagerSession::dimensions(const std::string& model) {
    const std::string asked = "asking for the dimensions of the model '" + model + "'";
    ModelDimensions dimensions;
    int32_t status = 0;
    answerTo(asked, [&] {
        return service().GetModelIOTensorDim(
                clientId(), model, [&](const auto& inputs, const auto& outputs, int32_t result) {
                    dimensions = {dimensionsOf(inputs), dimensionsOf(outputs)};
                    status = result;
                });
    });
    requireSuccess(status, asked, refuser());
    return dimensions;
}

int32_t ManagerSession::maxUsedMemory() {
    return answerTo("asking for the memory",
                    [&] { return service().GetMaxUsedMemory(clientId()); });
}

int32_t ManagerSession::validity() {
    return answerTo("asking for the validity",
                    [&] { return service().CheckModelValid(clientId()); });
}

size_t ManagerSession::build(const std::vector<Model>& sources, const SharedRegion& output,
                             uint32_t param) {
    ModelBuffer result = {};
    result.modelHandle = output.handle();
    result.size = output.size();
    uint32_t size = 0;
    int32_t status = 0;
    answerTo(kBuilding, [&] {
        return service().BuildModel(clientId(), kBuildContext, param, buffersOf(sources), result,
                                    [&](uint32_t built, int32_t answer) {
                                        size = built;
                                        status = answer;
                                    });
    });
    requireSuccess(status, kBuilding, refuser());
    if (size > output.size()) {
        throw ServiceError("compiling: the service says that it wrote more than there is room for",
                           -1);
    }
    return size;
}

int32_t checkCompatibility(ModelManagerService& service, const Model& model) {
    return answerTo("asking for the compatibility",
                    [&] { return service.CheckModelCompatibility(0, model.buffer()); });
}

}  // namespace orva::client
