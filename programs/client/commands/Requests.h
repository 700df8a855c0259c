/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "client/commands/Commands.h"
#include "client/lib/Session.h"
#include "client/report/Latency.h"

namespace orva::client {

// How the requests of a command are made.
struct RequestOptions {
    bool modelManager = false;  // Instead of a node of the general service.
    bool bind = false;          // The tensors once, then only a start for each.
    std::string modelName;      // One of a file's models, for a model manager; empty: the only one.
    std::string tensorType = Tensor::kBuffer;
    size_t threads = 1;
    size_t repeat = 1;
};

// Adds the options that say so: which service, and, for the second, how often.
void addServiceOptions(CLI::App* command, RequestOptions* options);
void addRequestOptions(CLI::App* command, RequestOptions* options);
// Throws CLI::ParseError when they do not fit together.
void checkRequestOptions(const RequestOptions& options);

// How long it took.
struct RequestTimes {
    std::chrono::nanoseconds opening;  // Of the session.
    Latency latency;
    Latency queueing, running;  // Of it, as far as the service tells.
    std::string context;        // Of the last result.

    // One line, for people.
    std::string text() const;
};

// A session that is sent the same request again and again, one after the other. All throw
// ServiceError when anything is refused or fails. Tensors must live as long.
class Requester {
public:
    // `nodeType` is for the general service; `clientId` tells this process's sessions apart.
    Requester(const Connection& connection, const RequestOptions& options,
              const std::string& nodeType, const std::string& config,
              const std::vector<Model>& models, const std::vector<Tensor>& inputs,
              const std::vector<Tensor>& outputs, int32_t clientId = 1);

    // How long the session took to open.
    std::chrono::nanoseconds opening() const { return opening_; }

    // Sends the request and returns once it is accepted.
    void start() { start_(); }
    // Its result, which lies in the outputs afterwards, or a failure.
    Completion finish();

private:
    std::chrono::nanoseconds opening_{0};
    size_t outputs_;
    std::function<void()> start_;
    std::function<Completion()> await_;
};

// Different requests with the same tensors.
struct RequestTurns {
    size_t count = 1;
    std::function<void(size_t)> before;                     // Fills the inputs.
    std::function<void(const std::string& context)> after;  // Of the last result.
};

// Opens a session, sends it each request as often as the options say, and waits for each result.
RequestTimes request(const Connection& connection, const RequestOptions& options,
                     const std::string& nodeType, const std::string& config,
                     const std::vector<Model>& models, const std::vector<Tensor>& inputs,
                     const std::vector<Tensor>& outputs, const RequestTurns& turns = {});

}  // namespace orva::client
