/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
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
    size_t repeat = 1;
};

// Adds the options that say so.
void addRequestOptions(CLI::App* command, RequestOptions* options);
// Throws CLI::ParseError when they do not fit together.
void checkRequestOptions(const RequestOptions& options);

// How long it took.
struct RequestTimes {
    std::chrono::nanoseconds opening;  // Of the session.
    Latency latency;

    // One line, for people.
    std::string text() const;
};

// Opens a session, sends it the same request as often as the options say, one after the other, and
// waits for each result, which lies in `outputs` afterwards. `nodeType` is for the general service.
// Throws ServiceError when anything is refused or fails.
RequestTimes request(const Connection& connection, const RequestOptions& options,
                     const std::string& nodeType, const std::string& config,
                     const std::vector<Model>& models, const std::vector<Tensor>& inputs,
                     const std::vector<Tensor>& outputs);

}  // namespace orva::client
