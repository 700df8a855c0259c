/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <android/log.h>
#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>

#include "ServiceLibrary.h"

namespace orva::host {

// What the host's command line says.
struct Options {
    std::string library = ServiceLibrary::defaultPath();
    std::vector<std::string> nodes;
    std::string socketDir;
    std::string instance = "default";
    unsigned threads = 8;
    unsigned standIns = 64;

    // For all clients together. The model manager service takes 201 sessions and then nobody; at
    // this limit the dead and the idle make way, so it is the lower one.
    unsigned maxClients = 192;
    double idleTimeout = 600;
    double callbackTimeout = 30;
    double loadTimeout = 60;
    double runTimeout = 60;
    size_t engineMemory = 0;  // MiB; set by addOptions

    // For each client process; 0 is without a bound.
    orva_platform::PeerLimits peer;
    size_t clientSessions = 128;
    size_t clientListeners = 64;
    size_t clientRequests = 512;
    size_t clientTensors = 4096;
    size_t clientThreads = 96;
    size_t clientEngineMemory = 0;  // MiB; set by addOptions

    int logLevel = ANDROID_LOG_WARN;
    size_t logLimit = 600;
};

void addOptions(CLI::App* app, Options* options);

// Sets runtime and framework up as the options say. Throws std::exception.
void configure(const Options& options);

}  // namespace orva::host
