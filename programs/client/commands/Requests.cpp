/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/Requests.h"

#include <cstdio>
#include <functional>
#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/lib/ManagerSession.h"
#include "client/perf/ServiceTimes.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

// Names the model that a request is for.
std::string contextOf(const RequestOptions& options) {
    return nlohmann::json{{"model", options.modelName}}.dump(
            -1, ' ', true, nlohmann::json::error_handler_t::replace);
}

// The session's configuration. It has the service tell how long requests wait and run.
std::string configFor(const RequestOptions& options, const std::string& config) {
    auto parameters = nlohmann::json::parse(config.empty() ? "{}" : config, nullptr, false);
    if (!parameters.is_object()) {
        return config;  // The service says what is wrong with it.
    }
    parameters["times"] = "true";
    parameters["threads"] = std::to_string(options.threads);
    return parameters.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

}  // namespace

void addServiceOptions(CLI::App* command, RequestOptions* options) {
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
    command->add_option(
            "--model-name", options->modelName,
            "With a model manager: which of a compiled file's models to run, by the name "
            "that it got there, which orva compile and orva info show");
    command->add_option("--threads", options->threads,
                        "Threads of the engine that a request runs on, as far as the host has them")
            ->check(CLI::Range(1, 64))
            ->capture_default_str();
    command->add_option_function<std::string>(
                   "--tensor",
                   [options](const std::string& memory) {
                       options->tensorType = memory == "ion" ? Tensor::kIonBuffer : Tensor::kBuffer;
                   },
                   "The memory that the tensors lie in: shared memory, or ION buffers, which "
                   "accelerators use in place")
            ->check(CLI::IsMember({"shm", "ion"}))
            ->default_str("shm");
}

void addRequestOptions(CLI::App* command, RequestOptions* options) {
    addServiceOptions(command, options);
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
    std::string text = latency.text() + "; the session opened in " + milliseconds(opening);
    if (running.count() != 0) {
        char split[80];
        snprintf(split, sizeof split, "; %s%.2f ms queued, %.2f ms run",
                 latency.count() == 1 ? "" : "at the median ", queueing.percentile(0.5),
                 running.percentile(0.5));
        text += split;
    }
    return text;
}

Requester::Requester(const Connection& connection, const RequestOptions& options,
                     const std::string& nodeType, const std::string& config,
                     const std::vector<Model>& models, const std::vector<Tensor>& inputs,
                     const std::vector<Tensor>& outputs, int32_t clientId)
        : outputs_(outputs.size()) {
    const std::string whole = configFor(options, config);
    // Both hold on to the session, which is closed when they go.
    const auto keep = [this](const auto& session, const auto& start) {
        start_ = [session, start] { start(*session); };
        await_ = [session] { return session->await(); };
    };
    if (!options.modelManager) {
        const auto service = connect<AIService>(connection, kMayTakeLong);
        const Stopwatch watch;
        const auto session = withProgress("opening the session", [&] {
            return std::make_shared<Session>(service, clientId, nodeType, whole, models);
        });
        opening_ = watch.elapsed();
        keep(session, [&inputs, &outputs](Session& s) { s.send("", inputs, outputs); });
        return;
    }
    const auto service = connect<ModelManagerService>(connection, kMayTakeLong);
    const Stopwatch watch;
    const auto session = withProgress("opening the session", [&] {
        return std::make_shared<ManagerSession>(service, clientId, whole, models);
    });
    opening_ = watch.elapsed();
    const std::string context = contextOf(options);
    if (options.bind) {
        session->bind(context, inputs, outputs);
        keep(session, [context](ManagerSession& s) { s.start(context); });
    } else {
        keep(session,
             [context, &inputs, &outputs](ManagerSession& s) { s.send(context, inputs, outputs); });
    }
}

Completion Requester::finish() {
    Completion completion = await_();
    requireResult(completion.result, completion.context);
    if (!completion.fault.empty()) {
        throw ServiceError("the result cannot be taken: " + completion.fault, -1);
    }
    if (completion.outputs.size() != outputs_) {
        throw ServiceError("the result has " + std::to_string(completion.outputs.size()) +
                                   " tensors instead of " + std::to_string(outputs_),
                           -1);
    }
    return completion;
}

RequestTimes request(const Connection& connection, const RequestOptions& options,
                     const std::string& nodeType, const std::string& config,
                     const std::vector<Model>& models, const std::vector<Tensor>& inputs,
                     const std::vector<Tensor>& outputs, const RequestTurns& turns) {
    serveWhileAwaiting();
    Requester requester(connection, options, nodeType, config, models, inputs, outputs);
    RequestTimes times = {requester.opening(), {}, {}, {}, ""};
    const size_t count = turns.count * options.repeat;
    Progress progress("requests", count);
    for (size_t i = 0; i < count; ++i) {
        if (turns.before && i % options.repeat == 0) {
            turns.before(i / options.repeat);
        }
        const Stopwatch watch;
        requester.start();
        const Completion completion = requester.finish();
        times.latency.add(watch.elapsed());
        if (const auto service = serviceTimes(completion.context)) {
            times.queueing.add(service->queue);
            times.running.add(service->run);
        }
        times.context = completion.context;
        if (turns.after && (i + 1) % options.repeat == 0) {
            turns.after(completion.context);
        }
        progress.update(i + 1);
    }
    return times;
}

}  // namespace orva::client
