/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/Requests.h"

#include <functional>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/lib/ManagerSession.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

constexpr int32_t kClientId = 1;

// Names the model that a request is for.
std::string contextOf(const RequestOptions& options) {
    return nlohmann::json{{"model", options.modelName}}.dump(
            -1, ' ', true, nlohmann::json::error_handler_t::replace);
}

// `start` has each request start.
template <typename AnySession>
Latency repeat(AnySession* session, const std::function<void()>& start, size_t outputs,
               size_t count) {
    Latency latency;
    Progress progress("requests", count);
    for (size_t i = 0; i < count; ++i) {
        const Stopwatch watch;
        start();
        const Completion completion = session->await();
        latency.add(watch.elapsed());
        requireSuccess(completion.result, "the request");
        if (!completion.fault.empty()) {
            throw ServiceError("the result cannot be taken: " + completion.fault, -1);
        }
        if (completion.outputs.size() != outputs) {
            throw ServiceError("the result has " + std::to_string(completion.outputs.size()) +
                                       " tensors instead of " + std::to_string(outputs),
                               -1);
        }
        progress.update(i + 1);
    }
    return latency;
}

}  // namespace

void addRequestOptions(CLI::App* command, RequestOptions* options) {
    command->add_option_function<std::string>(
                   "--service",
                   [options](const std::string& service) {
                       options->modelManager = service == "model-manager";
                   },
                   "The service that runs it: a node of the general service, or a model manager")
            ->check(CLI::IsMember({"ai", "model-manager"}))
            ->default_str("ai");
    command->add_flag("--bind", options->bind,
                      "With a model manager: bind the tensors once, then start each request");
    command->add_option("--model-name", options->modelName,
                        "With a model manager: which of a compiled file's models to run");
    command->add_option_function<std::string>(
                   "--tensor",
                   [options](const std::string& memory) {
                       options->tensorType = memory == "ion" ? Tensor::kIonBuffer : Tensor::kBuffer;
                   },
                   "The memory that the tensors lie in: shared memory, or ION buffers, which "
                   "accelerators use in place")
            ->check(CLI::IsMember({"shm", "ion"}))
            ->default_str("shm");
    command->add_option("--repeat", options->repeat, "How often to run it, for the latency")
            ->check(CLI::Range(1, 1'000'000))
            ->capture_default_str();
}

void checkRequestOptions(const RequestOptions& options) {
    if (options.bind && !options.modelManager) {
        throw CLI::ValidationError("--bind", "needs --service model-manager");
    }
    if (!options.modelName.empty() && !options.modelManager) {
        throw CLI::ValidationError("--model-name", "needs --service model-manager");
    }
}

std::string RequestTimes::text() const {
    return latency.text() + "; the session opened in " + milliseconds(opening);
}

RequestTimes request(const Connection& connection, const RequestOptions& options,
                     const std::string& nodeType, const std::string& config,
                     const std::vector<Model>& models, const std::vector<Tensor>& inputs,
                     const std::vector<Tensor>& outputs) {
    if (!options.modelManager) {
        const auto service = connect<AIService>(connection, kMayTakeLong);
        const Stopwatch opening;
        const auto session = withProgress("opening the session", [&] {
            return std::make_unique<Session>(service, kClientId, nodeType, config, models);
        });
        const std::chrono::nanoseconds opened = opening.elapsed();
        const auto send = [&] { session->send("", inputs, outputs); };
        return {opened, repeat(session.get(), send, outputs.size(), options.repeat)};
    }
    const auto service = connect<ModelManagerService>(connection, kMayTakeLong);
    const Stopwatch opening;
    const auto session = withProgress("opening the session", [&] {
        return std::make_unique<ManagerSession>(service, kClientId, config, models);
    });
    const std::chrono::nanoseconds opened = opening.elapsed();
    const std::string context = contextOf(options);
    std::function<void()> start = [&] { session->send(context, inputs, outputs); };
    if (options.bind) {
        session->bind(context, inputs, outputs);
        start = [&] { session->start(context); };
    }
    return {opened, repeat(session.get(), start, outputs.size(), options.repeat)};
}

}  // namespace orva::client
