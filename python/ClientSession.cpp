/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ClientSession.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "client/model/ModelFile.h"

namespace orva::python {

using client::Completion;
using client::ServiceError;
using client::Tensor;

namespace {

// How soon an interrupt of the program is noticed while it waits.
constexpr std::chrono::milliseconds kLookInterval{100};

std::vector<const Tensor*> pointersTo(const Tensors& tensors) {
    std::vector<const Tensor*> pointers;
    pointers.reserve(tensors.size());
    for (const auto& tensor : tensors) {
        if (tensor == nullptr) {
            throw std::invalid_argument("None is no tensor");
        }
        pointers.push_back(tensor.get());
    }
    return pointers;
}

int32_t nextSessionId() {
    static std::atomic<int32_t> next{1};
    return next++;
}

}  // namespace

ClientSession::ClientSession(const std::string& model, const std::string& node,
                             const std::string& config, const std::string& instance) {
    std::vector<client::Model> models;
    if (!model.empty()) {
        const client::ModelFile file(model);
        const client::ModelOutline& outline = file.pick("");
        inputs_ = outline.inputs;
        outputs_ = outline.outputs;
        models.push_back(file.load());
    }
    session_ = std::make_unique<client::Session>(client::findService(instance), nextSessionId(),
                                                 node, config, models);
}

std::string ClientSession::run(const std::string& context, const Tensors& inputs,
                               const Tensors& outputs, const std::function<void()>& look) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (session_ == nullptr) {
        throw ServiceError("the session is closed", -1);
    }
    session_->send(context, pointersTo(inputs), pointersTo(outputs));
    std::optional<Completion> completion;
    try {
        while (!(completion = session_->awaitFor(kLookInterval))) {
            look();
        }
    } catch (...) {
        session_.reset();
        throw;
    }
    client::requireSuccess(completion->result, "the request");
    return std::move(completion->context);
}

void ClientSession::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    session_.reset();
}

}  // namespace orva::python
