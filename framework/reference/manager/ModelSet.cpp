/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "manager/ModelSet.h"

#include <algorithm>
#include <stdexcept>

#include <orva/reference/ModelManager.h>

#include "base/Log.h"
#include "compiled/CompiledModel.h"

namespace orva::reference {

namespace {

bool AreSame(const std::vector<EngineTensor>& table, const std::vector<EngineTensor>& engine) {
    return std::equal(table.begin(), table.end(), engine.begin(), engine.end(),
                      [](const EngineTensor& left, const EngineTensor& right) {
                          return left.name == right.name && left.dataType == right.dataType &&
                                 left.dims == right.dims;
                      });
}

}  // namespace

void ModelSet::Add(const AIModelDescription& description, Cancellation& cancellation) {
    const ByteRange file{description.data(), description.data_size()};
    if (file.data == nullptr) {
        throw std::runtime_error("a description without the model's bytes");
    }
    const bool compiled = IsCompiledModel(file);
    const char* type = compiled ? "compiled" : "onnx";
    if (!description.type().empty() && description.type() != type) {
        throw std::runtime_error("not of type " + description.type());
    }
    if (compiled) {
        AddCompiled(description.name(), file, cancellation);
    } else {
        AddOnnx(description.name(), file, cancellation);
    }
}

void ModelSet::AddCompiled(const std::string& name, ByteRange file, Cancellation& cancellation) {
    CompiledModel compiled;
    std::string reason;
    if (!ReadCompiledModel(file, compiled, reason)) {
        throw std::runtime_error(reason);
    }
    for (const CompiledEntry& entry : compiled.models) {
        std::string full = entry.name;
        if (!name.empty()) {
            full = compiled.models.size() == 1 ? name : name + "/" + entry.name;
        }
        // What another version of the engine has made of it, this one need not understand.
        const bool usable = compiled.engine == EngineVersion() && entry.optimised.size != 0;
        const Engine& engine =
                AddOnnx(full, usable ? entry.optimised : entry.source, cancellation)->engine();
        if (!AreSame(entry.inputs, engine.inputs()) || !AreSame(entry.outputs, engine.outputs())) {
            throw std::runtime_error("built for other tensors than the engine finds: " +
                                     entry.name);
        }
    }
}

std::shared_ptr<OnnxRunner> ModelSet::AddOnnx(const std::string& name, ByteRange file,
                                              Cancellation& cancellation) {
    if (models_.size() == ModelManager::kMostModels) {
        throw std::runtime_error("more than " + std::to_string(ModelManager::kMostModels) +
                                 " models");
    }
    if (models_.count(name) != 0) {
        throw std::runtime_error("a second model of the name " + name);
    }
    auto runner = std::make_shared<OnnxRunner>(file, config_, cancellation, memory_);
    models_.emplace(name, runner);
    return runner;
}

std::shared_ptr<OnnxRunner> ModelSet::Find(const std::string& name) const {
    const auto found = name.empty() && models_.size() == 1 ? models_.begin() : models_.find(name);
    if (found == models_.end()) {
        ORVA_LOGE("no model '%s' among %zu", OneLine(name).c_str(), models_.size());
        return nullptr;
    }
    return found->second;
}

}  // namespace orva::reference
