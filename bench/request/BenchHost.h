/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include "driver/Control.h"

namespace orva_bench {

// Threads that serve calls: as many as the service host has unless it is told otherwise.
constexpr size_t kHostThreads = 8;

// The host's one order: to tell its HostState.
struct StateOrder {};

enum class Managers {
    kIdle,       // the benchmark's, which compute nothing
    kReference,  // the framework's
};

// Serves the library's services, with the benchmark's nodes, in the service directory `directory`
// until the driver goes.
int runBenchHost(const Control& control, const std::string& directory,
                 Managers managers = Managers::kIdle);

}  // namespace orva_bench
