/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>

#include "Payload.h"
#include "driver/Control.h"

namespace orva_bench {

// Serves one client until it goes: its calls come on the first socket, completions and their
// acknowledgements go over the second one.
using ServeClient = std::function<void(int requests, int listener)>;

// The server of the floor: what the work costs when nothing is done but the system calls
// without which its outcome is not to be had. One thread for each client, which only ever blocks in
// the kernel. Listens at `path`.
int runFloorServer(const Control& control, const std::string& path, const ServeClient& serveClient);
int runFloorServer(const Control& control, const std::string& path, const Load& load);

// A call that brings nothing and asks for a status. False when the client has gone.
bool serveBareCall(int requests);

}  // namespace orva_bench
