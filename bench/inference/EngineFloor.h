/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "driver/Control.h"
#include "inference/DirectClient.h"

namespace orva_bench {

// The floor with the engine in it: the server runs the model on each client's regions, on the
// thread that serves it, and makes besides only the system calls that the tensors cannot do
// without. What it costs beyond the engine called directly no server can save that maps a client's
// tensors for one request alone.
int runEngineFloorServer(const Control& control, const std::string& path, const std::string& model,
                         Tensors how);
int runEngineFloorClient(const Control& control, const std::string& path, const std::string& model,
                         Tensors how);

}  // namespace orva_bench
