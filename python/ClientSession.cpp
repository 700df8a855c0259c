/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ClientSession.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "Aside.h"
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

// The host is asked for its reasons where it may take its time.
template <typename Call>
void explaining(const Call& call) {
    try {
        call();
    } catch (const ServiceError& error) {
        throw ServiceError(error.explained(), error.status());
    }
}

}  // namespace

ClientSession::ClientSession(const std::string& model, const std::string& node,
                             const std::string& config, const std::string& instance,
                             const Look& look) {
    auto models = std::make_shared<std::vector<client::Model>>();
    if (!model.empty()) {
        const client::ModelFile file(model);
        const client::ModelOutline& outline = file.pick("");
        inputs_ = outline.inputs;
        outputs_ = outline.outputs;
        models->push_back(file.load());
    }
    const auto opened = std::make_shared<std::shared_ptr<client::Session>>();
    callAside(
            [=] {
                explaining([&] {
                    *opened = std::make_shared<client::Session>(
                            client::findService(instance), nextSessionId(), node, config, *models);
                });
            },
            look);
    session_ = std::move(*opened);
}

ClientSession::~ClientSession() {
    abandon();
}

std::string ClientSession::run(const std::string& context, const Tensors& inputs,
                               const Tensors& outputs, bool bounded, const Look& look) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (session_ == nullptr) {
        throw ServiceError("the session is closed", -1);
    }
    const auto send = [context, inputs, outputs](client::Session& session) {
        explaining([&] { session.send(context, pointersTo(inputs), pointersTo(outputs)); });
    };
    bool sent = false;
    try {
        if (bounded) {
            callAside([send, session = session_] { send(*session); }, look);
        } else {
            send(*session_);
        }
        sent = true;
        std::optional<Completion> completion;
        while (!(completion = session_->awaitFor(kLookInterval))) {
            look();
        }
        explaining([&] { client::requireSuccess(completion->result, "the request"); });
        return std::move(completion->context);
    } catch (const ServiceError& error) {
        // A refusal leaves nothing under way.
        if (sent && error.status() <= 0) {
            abandon();
        }
        throw;
    } catch (...) {
        abandon();
        throw;
    }
}

void ClientSession::close(const Look& look) {
    const std::lock_guard<std::mutex> lock(mutex_);
    callAside([session = std::move(session_)]() mutable { session.reset(); }, look);
}

void ClientSession::abandon() {
    if (session_ != nullptr) {
        leaveAside([session = std::move(session_)]() mutable { session.reset(); });
    }
}

}  // namespace orva::python
