/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/io/File.h"
#include "client/lib/Session.h"
#include "client/model/TensorShape.h"

namespace orva::client {

// What a model file may have at most, as its format has it. Unit: bytes.
constexpr size_t kMostModelBytes = (size_t{2} << 30) - 1;

// A file as it is, for a service to judge; nothing is known of what is in it. Throws
// std::exception, naming the file, when it cannot be read. `advance` is told, as it goes, of bytes
// that have been.
Model readModel(const std::string& path, const std::function<void(size_t)>& advance = nullptr);

// Whether it is what a build has made, and no source of one.
bool isCompiled(const Model& model);

// The names of the models in such a file's bytes, in their order. Throws std::runtime_error when it
// is none.
std::vector<std::string> compiledNames(const uint8_t* bytes, size_t size);

// Why a service has refused a model: the status, and what can be seen here or where to look.
std::string refusalText(const Model& model, int32_t status, const Refuser& refuser);

// One model as its file outlines it. Dimensions that it leaves open are 1, as they are to the
// service.
struct ModelOutline {
    std::string name;
    std::vector<TensorShape> inputs;
    std::vector<TensorShape> outputs;
};

// A model file with what it says of the models in it.
class ModelFile {
public:
    // Throws std::runtime_error, naming the file, when it cannot be read or is no file of models
    // with tensors that can be sent.
    explicit ModelFile(const std::string& path);

    const std::vector<ModelOutline>& models() const { return models_; }
    // The one of that name; for the empty name, its only one. Throws std::runtime_error, naming
    // those that there are, when there is none such.
    const ModelOutline& pick(const std::string& name) const;

    size_t size() const { return bytes_.size(); }
    // What a session loads, in shared memory.
    Model load() const;

private:
    std::string path_;
    FileBytes bytes_;
    std::vector<ModelOutline> models_;
};

}  // namespace orva::client
