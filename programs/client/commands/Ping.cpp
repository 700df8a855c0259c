/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>

#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/lib/Session.h"
#include "client/report/Latency.h"

namespace orva::client {

namespace {

void ping(const Connection& connection) {
    const auto service = findService(connection.instance);
    const Stopwatch watch;
    const android::hardware::Return<void> answer = service->ping();
    if (!answer.isOk()) {
        throw ServiceError("the service does not answer: " + answer.description(), -1);
    }
    printf("the service answers in %s\n", milliseconds(watch.elapsed()).c_str());
}

}  // namespace

void addPing(CLI::App* app, const Connection* connection) {
    app->add_subcommand("ping", "See whether the service answers")->callback([connection] {
        ping(*connection);
    });
}

}  // namespace orva::client
