/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <memory>
#include <string>

#include <orva/AIModelDescription.h>

#include "onnx/OnnxRunner.h"

namespace orva::reference {

// The models of one session, by name. Whatever judges a model does so by adding it to a set.
class ModelSet {
public:
    explicit ModelSet(const RunnerConfig& config = {}) : config_(config) {}

    // Loads what a description brings, an ONNX file or a built model. Throws a std::exception that
    // says why when it is refused; the set is of no further use then.
    void Add(const AIModelDescription& description, Cancellation& cancellation);

    // The model of a name, or the only one when there is no name; null, with a line in the log,
    // when there is none.
    std::shared_ptr<OnnxRunner> Find(const std::string& name) const;

    // The most bytes that the models have taken at a time.
    size_t memory() const { return memory_->most(); }

private:
    void AddCompiled(const std::string& name, ByteRange file, Cancellation& cancellation);
    std::shared_ptr<OnnxRunner> AddOnnx(const std::string& name, ByteRange file,
                                        Cancellation& cancellation);

    const RunnerConfig config_;
    const std::shared_ptr<EngineMemory> memory_ = Engine::DefaultMemory();
    std::map<std::string, std::shared_ptr<OnnxRunner>> models_;
};

}  // namespace orva::reference
