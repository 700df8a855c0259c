/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "client/lib/Session.h"
#include "client/model/TensorShape.h"

namespace orva::client {

// A file as it is, for a service to judge; nothing is known of what is in it. Throws as
// readIntoRegion does, which finds `advance` explained.
Model readModel(const std::string& path, const std::function<void(size_t)>& advance = nullptr);

// Whether it is what a build has made, and no source of one.
bool isCompiled(const Model& model);

// Why a service has refused a model: the status, and what can be seen here or where to look.
std::string refusalText(const Model& model, int32_t status);

// One model as its file outlines it. Dimensions that it leaves open are 1, as they are to the
// service.
struct ModelOutline {
    std::string name;
    std::vector<TensorShape> inputs;
    std::vector<TensorShape> outputs;
};

// A model file in shared memory, with what it says of the models in it.
class ModelFile {
public:
    // Throws std::runtime_error, naming the file, when it cannot be read or is no file of models
    // with tensors that can be sent.
    explicit ModelFile(const std::string& path);

    const std::vector<ModelOutline>& models() const { return models_; }
    // The one of that name; for the empty name, its only one. Throws std::runtime_error, naming
    // those that there are, when there is none such.
    const ModelOutline& pick(const std::string& name) const;

    // What a session loads.
    const Model& model() const { return model_; }
    Model take() && { return std::move(model_); }

private:
    const std::string path_;
    Model model_;
    std::vector<ModelOutline> models_;
};

}  // namespace orva::client
