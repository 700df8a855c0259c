/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/ManagerSession.h"

namespace orva::client {

using android::sp;
using android::hardware::hidl_vec;
using android::hardware::Return;
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

int32_t answerOf(const Return<int32_t>& answer, const char* asked) {
    requireAnswer(answer, asked);
    return answer;
}

}  // namespace

ManagerSession::ManagerSession(const sp<ModelManagerService>& service, int32_t clientId,
                               const std::string& config, const std::vector<Model>& models)
        : BasicSession(service, clientId, kType, config, models) {}

void ManagerSession::bind(const std::string& context, const std::vector<Tensor>& inputs,
                          const std::vector<Tensor>& outputs) {
    requireSuccess(service().SetInputsAndOutputs(clientId(), context, handlesOf(inputs),
                                                 handlesOf(outputs)),
                   "binding the tensors");
}

void ManagerSession::start(const std::string& context) {
    requireSuccess(service().StartCompute(clientId(), context), "starting the computation");
}

ModelDimensions ManagerSession::dimensions(const std::string& model) {
    const std::string asked = "asking for the dimensions of the model '" + model + "'";
    ModelDimensions dimensions;
    int32_t status = 0;
    requireAnswer(service().GetModelIOTensorDim(
                          clientId(), model,
                          [&](const auto& inputs, const auto& outputs, int32_t result) {
                              dimensions = {dimensionsOf(inputs), dimensionsOf(outputs)};
                              status = result;
                          }),
                  asked);
    requireSuccess(status, asked);
    return dimensions;
}

int32_t ManagerSession::maxUsedMemory() {
    return answerOf(service().GetMaxUsedMemory(clientId()), "asking for the memory");
}

int32_t ManagerSession::validity() {
    return answerOf(service().CheckModelValid(clientId()), "asking for the validity");
}

size_t ManagerSession::build(const std::vector<Model>& sources, const SharedRegion& output,
                             uint32_t param) {
    ModelBuffer result = {};
    result.modelHandle = output.handle();
    result.size = output.size();
    uint32_t size = 0;
    int32_t status = 0;
    requireAnswer(service().BuildModel(clientId(), kBuildContext, param, buffersOf(sources), result,
                                       [&](uint32_t built, int32_t answer) {
                                           size = built;
                                           status = answer;
                                       }),
                  kBuilding);
    requireSuccess(status, kBuilding);
    if (size > output.size()) {
        throw ServiceError("compiling: the service says that it wrote more than there is room for",
                           -1);
    }
    return size;
}

int32_t checkCompatibility(ModelManagerService& service, const Model& model) {
    return answerOf(service.CheckModelCompatibility(0, model.buffer()),
                    "asking for the compatibility");
}

}  // namespace orva::client
