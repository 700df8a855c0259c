/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "driver/Control.h"

namespace orva_bench {

// How a client hands over its tensors.
enum class Tensors {
    kSent,   // with each request, to a node
    kBound,  // once, to a model manager
};

// Both take round orders, and run the model on zeros.

// On the engine itself, in this process, with one thread of it.
int runDirectClient(const Control& control, const std::string& model);
// Through the services in the directory, in a session of this process's own.
int runServiceClient(const Control& control, const std::string& model, const std::string& directory,
                     Tensors how);

}  // namespace orva_bench
