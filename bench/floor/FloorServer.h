/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "Payload.h"
#include "driver/Control.h"

namespace orva_bench {

// The server of the floor: what the work costs when nothing is done but the system calls
// without which its outcome is not to be had. One thread for each client, which only ever blocks in
// the kernel. Listens at `path`.
int runFloorServer(const Control& control, const std::string& path, const Load& load);

}  // namespace orva_bench
