/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "client/lib/Session.h"
#include "client/report/Latency.h"

namespace orva::client {

// Adds the option that says which type of tensors a request carries.
void addTensorOption(CLI::App* command, std::string* type);

// Sends the same request `count` times, one after the other, and waits for each result, which lies
// in `outputs` afterwards. Throws ServiceError when a request is refused or fails.
Latency request(Session* session, const std::vector<Tensor>& inputs,
                const std::vector<Tensor>& outputs, size_t count);

}  // namespace orva::client
